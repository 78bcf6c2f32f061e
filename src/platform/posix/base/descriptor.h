#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/guard.h"
#include "platform/posix/base/errors.h"

namespace Vellox::Posix {

// What closes a descriptor keeps errno, as the caller has yet to tell why the work ended.
struct DescriptorTraits {
    using Value = int;
    static int None() { return -1; }
    static void GiveBack(int descriptor) {
        const int error = errno;
        ::close(descriptor);
        errno = error;
    }
};
using Descriptor = Guard<DescriptorTraits>;

struct FolderTraits {
    using Value = DIR*;
    static DIR* None() { return nullptr; }
    static void GiveBack(DIR* folder) {
        const int error = errno;
        ::closedir(folder);
        errno = error;
    }
};
// An open folder whose entries are listed.
using Folder = Guard<FolderTraits>;

// No signal keeps a file from being opened, and no program that the host starts gets it.
inline Descriptor Open(const char* path, int flags, mode_t mode = 0) {
    return Descriptor(Retried([&] { return ::open(path, flags | O_CLOEXEC, mode); }));
}
inline Descriptor OpenAt(int folder, const char* name, int flags, mode_t mode = 0) {
    return Descriptor(Retried([&] { return ::openat(folder, name, flags | O_CLOEXEC, mode); }));
}

// A folder as a place to name entries in. It need not be readable, and nothing can be read from it.
enum class Links { Follow, Refuse };
inline Descriptor OpenPlaceAt(int folder, const char* name, Links links) {
    return OpenAt(folder, name, O_PATH | O_DIRECTORY | O_CLOEXEC | (links == Links::Refuse ? O_NOFOLLOW : 0));
}
inline Descriptor OpenPlace(const char* path) {
    return OpenPlaceAt(AT_FDCWD, path, Links::Follow);
}

} // namespace Vellox::Posix
