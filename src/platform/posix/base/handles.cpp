#include "platform/posix/base/handles.h"

#include <fcntl.h>

namespace Vellox::Posix {
namespace {

HANDLE HandleOf(int descriptor) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor));
}

} // namespace

HANDLE ToHandle(Descriptor file) {
    if (file.Get() >= lowestHandle)
        return HandleOf(file.Release());
    const int higher = ::fcntl(file.Get(), F_DUPFD_CLOEXEC, lowestHandle);
    if (higher < 0)
        FailFromErrno();
    return HandleOf(higher);
}

} // namespace Vellox::Posix
