#include "platform/posix/base/rename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace Vellox::Posix {
namespace {

bool TakeBack(int folder, const char* name, int flags) {
    const int error = errno;
    ::unlinkat(folder, name, flags);
    errno = error;
    return false;
}

// An empty folder of our own takes the name; only it can be replaced, as a folder with contents cannot.
bool RenameFolderOverPlaceholder(int fromFolder, const char* from, int toFolder, const char* to) {
    if (::mkdirat(toFolder, to, 0700) != 0)
        return false;
    return ::renameat(fromFolder, from, toFolder, to) == 0 || TakeBack(toFolder, to, AT_REMOVEDIR);
}

// A file that may not leave its folder does not get a second name either.
bool RenameFileByLink(int fromFolder, const char* from, int toFolder, const char* to) {
    if (::linkat(fromFolder, from, toFolder, to, 0) != 0)
        return false;
    return ::unlinkat(fromFolder, from, 0) == 0 || TakeBack(toFolder, to, 0);
}

} // namespace

bool RenameIntoFreeName(int fromFolder, const char* from, int toFolder, const char* to) {
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return true;
    // Some file systems do not know the flag and say so in one of these words.
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return false;
    struct stat status;
    if (::fstatat(fromFolder, from, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    return S_ISDIR(status.st_mode) ? RenameFolderOverPlaceholder(fromFolder, from, toFolder, to)
                                   : RenameFileByLink(fromFolder, from, toFolder, to);
}

} // namespace Vellox::Posix
