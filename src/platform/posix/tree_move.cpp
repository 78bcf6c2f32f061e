#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/identity.h"
#include "platform/posix/paths.h"
#include "platform/posix/sharing.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

namespace Vellox::Posix {
namespace {

bool RemoveIfSame(Entry source, const struct stat& status, Entry copy) {
    struct stat copyStatus;
    if (::fstatat(copy.folder, copy.name, &copyStatus, AT_SYMLINK_NOFOLLOW) != 0)
        return FailFromErrno();
    if (!HoldSameData(source, status, copy, copyStatus))
        return Fail(ERROR_BUSY);
    return UnlinkIfSame(source, status);
}

// Nobody may write from the comparison to the end, as his bytes would end with the file.
bool RemoveCopiedFile(Entry source, Entry copy) {
    const Descriptor file = OpenAt(source.folder, source.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (!file || ::fstat(file.Get(), &status) != 0)
        return FailFromErrno();
    return TakeSharingLocks(file.Get(), GENERIC_READ, FILE_SHARE_READ) && RemoveIfSame(source, status, copy);
}

bool RemoveCopied(Entry source, Entry copy, int depth);

bool RemoveCopiedFolder(Entry source, Entry copy, int depth) {
    if (depth > deepestTree)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    Descriptor opened = OpenFolderToEmpty(source);
    const Descriptor copyFolder = OpenAt(copy.folder, copy.name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const Folder listing(opened && copyFolder ? ::fdopendir(opened.Get()) : nullptr);
    if (listing == nullptr)
        return FailFromErrno();
    const int folder = opened.Release();
    // All names at first, as a file system may pass over entries while others go.
    std::vector<std::string> names;
    while (const dirent* found = ::readdir(listing.get()))
        if (!IsDotName(found->d_name))
            names.emplace_back(found->d_name);
    bool isGone = true;
    for (const std::string& name : names)
        isGone = RemoveCopied({folder, name.c_str()}, {copyFolder.Get(), name.c_str()}, depth + 1) && isGone;
    return isGone && (::unlinkat(source.folder, source.name, AT_REMOVEDIR) == 0 || FailFromErrno());
}

bool RemoveCopied(Entry source, Entry copy, int depth) {
    struct stat status;
    if (::fstatat(source.folder, source.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return FailFromErrno();
    if (S_ISDIR(status.st_mode))
        return RemoveCopiedFolder(source, copy, depth);
    return S_ISREG(status.st_mode) ? RemoveCopiedFile(source, copy) : RemoveIfSame(source, status, copy);
}

} // namespace
} // namespace Vellox::Posix

using namespace Vellox::Posix;

bool Vellox::Platform::RemoveCopiedTree(const WCHAR* source, const WCHAR* copy) {
    const PosixPath from(source);
    const PosixPath to(copy);
    return from.IsValid() && to.IsValid() && RemoveCopied({AT_FDCWD, from.Text()}, {AT_FDCWD, to.Text()}, 0);
}

bool Vellox::Platform::RemoveCopiedLink(const WCHAR* link, const WCHAR* copy) {
    return RemoveCopiedTree(link, copy);
}

// For a folder one call for the whole volume, instead of one for each file of the tree.
bool Vellox::Platform::BringToDisk(const WCHAR* path) {
    const PosixPath place(path);
    if (!place.IsValid())
        return false;
    const Descriptor entry = Open(place.Text(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (!entry || ::fstat(entry.Get(), &status) != 0)
        return FailFromErrno();
    const auto sync = S_ISDIR(status.st_mode) ? ::syncfs : ::fsync;
    return Retried([&] { return sync(entry.Get()); }) == 0 || FailWritingFromErrno();
}
