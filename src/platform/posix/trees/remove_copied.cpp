#include "platform/posix/trees/remove_copied.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/compare.h"
#include "platform/posix/trees/delete.h"

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
    const Descriptor copyFolder = OpenPlaceAt(copy.folder, copy.name, Links::Refuse);
    const Folder listing(opened && copyFolder ? ::fdopendir(opened.Get()) : nullptr);
    if (!listing)
        return FailFromErrno();
    const int folder = opened.Release();
    // All names at first, as a file system may pass over entries while others go.
    std::vector<std::string> names;
    while (const dirent* found = ::readdir(listing.Get()))
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

bool RemoveCopied(Entry source, Entry copy) {
    return RemoveCopied(source, copy, 0);
}

} // namespace Vellox::Posix
