#include "platform/posix/trees/attributes.h"

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

void KeepFolderAttributes(int folder, const struct stat& status) {
    const struct timespec times[] = {status.st_atim, status.st_mtim};
    MayFail(::fchmod(folder, status.st_mode & 07777));
    MayFail(::futimens(folder, times));
}

} // namespace Vellox::Posix
