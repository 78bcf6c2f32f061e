#include "platform/posix/base/rename.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"

namespace Vellox::Posix {
namespace {

// In which words a file system says that it does not know RENAME_NOREPLACE: EINVAL is that of FUSE (ntfs-3g, bindfs,
// exfat-fuse), the others come from kernels and filters without renameat2.
bool LacksNoReplace(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

// In which words it says that a file cannot have a second name: EPERM is that of vfat and exfat, and of Linux for a
// file that is not the user's (fs.protected_hardlinks). EMLINK means that it has as many as it can have.
bool LacksLinks(int error) {
    return error == EPERM || error == ENOSYS || error == EOPNOTSUPP || error == EMLINK;
}

bool RenameAlone(Entry from, Entry to) {
    return ::renameat2(from.folder, from.name, to.folder, to.name, RENAME_NOREPLACE) == 0;
}

bool RenameOver(Entry from, Entry to) {
    return ::renameat(from.folder, from.name, to.folder, to.name) == 0;
}

bool ReadStatus(Entry entry, struct stat& status) {
    return ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool AreSame(Entry first, Entry second) {
    struct stat status;
    return ReadStatus(first, status) && IsAt(second, status);
}

Descriptor MakePlaceholder(Entry entry, mode_t kind) {
    if (!S_ISDIR(kind))
        return OpenAt(entry.folder, entry.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (::mkdirat(entry.folder, entry.name, 0700) != 0)
        return {};
    return OpenPlaceAt(entry.folder, entry.name, Links::Refuse);
}

// Something of our own takes the name, which only one can do, and the rename replaces it: an empty file, or an empty
// folder, as only a folder can replace one. It is held open meanwhile: exfat-fuse gives an entry that nobody holds a
// new number at any time.
bool RenameOverPlaceholder(Entry from, Entry to, mode_t kind) {
    const Descriptor placeholder = MakePlaceholder(to, kind);
    struct stat made;
    if (!placeholder || ::fstat(placeholder.Get(), &made) != 0)
        return false;
    if (RenameOver(from, to))
        return true;
    const KeptErrors errors;
    if (IsAt(to, made))
        ::unlinkat(to.folder, to.name, S_ISDIR(kind) ? AT_REMOVEDIR : 0);
    return false;
}

// What has a private name gets its old one back, if that is still free, or else stays where it is. Nobody knows the
// private name, so the two names need no look before one goes.
void Return(Entry hidden, Entry entry) {
    const KeptErrors errors;
    struct stat status;
    if (RenameAlone(hidden, entry) || !LacksNoReplace(errno) || !ReadStatus(hidden, status))
        return;
    if (::linkat(hidden.folder, hidden.name, entry.folder, entry.name, 0) == 0)
        ::unlinkat(hidden.folder, hidden.name, 0);
    else if (LacksLinks(errno))
        RenameOverPlaceholder(hidden, entry, status.st_mode);
}

// Some file systems give each name of a file a number of its own (sshfs).
bool IsLinkWithOwnNumber(Entry from, Entry to, const struct stat& before) {
    struct stat status;
    return ReadStatus(to, status) && !IsSameEntry(status, before) && IsAt(from, before) &&
           status.st_size == before.st_size && status.st_mtim.tv_sec == before.st_mtim.tv_sec &&
           status.st_mtim.tv_nsec == before.st_mtim.tv_nsec;
}

// Takes the old name from what has two. Another program that saves its file by a rename over it can put a new version
// there at any time; so the old name goes by way of a private one, and is looked at there. A new version comes back,
// and what has the new name is only taken away if it is the version that was there before.
bool RemoveOldName(Entry from, Entry to, const struct stat& before) {
    const std::string name = RenameToPrivateName(from);
    const Entry hidden{from.folder, name.c_str()};
    if (!name.empty()) {
        const bool isSame = AreSame(hidden, to);
        if (isSame && ::unlinkat(hidden.folder, hidden.name, 0) == 0)
            return true;
        if (!isSame)
            errno = EBUSY;
        Return(hidden, from);
    }
    const KeptErrors errors;
    UnlinkIfSame(to, before);
    return false;
}

bool RenameFile(Entry from, Entry to, const struct stat& before) {
    if (::linkat(from.folder, from.name, to.folder, to.name, 0) != 0)
        return LacksLinks(errno) && RenameOverPlaceholder(from, to, before.st_mode);
    if (IsLinkWithOwnNumber(from, to, before))
        return ::unlinkat(to.folder, to.name, 0) == 0 && RenameOverPlaceholder(from, to, before.st_mode);
    return RemoveOldName(from, to, before);
}

// The rename sees that the volume is another one before it looks for the new name.
bool TellWhyNotThere(Entry to) {
    struct stat status;
    if (ReadStatus(to, status))
        errno = EEXIST;
    else if (errno != ENAMETOOLONG)
        errno = EXDEV;
    return false;
}

} // namespace

bool RenameIntoFreeName(int fromFolder, const char* from, int toFolder, const char* to) {
    const Entry source{fromFolder, from};
    const Entry destination{toFolder, to};
    if (RenameAlone(source, destination))
        return true;
    if (errno == EXDEV)
        return TellWhyNotThere(destination);
    struct stat status;
    if (!LacksNoReplace(errno) || !ReadStatus(source, status))
        return false;
    return S_ISDIR(status.st_mode) ? RenameOverPlaceholder(source, destination, status.st_mode)
                                   : RenameFile(source, destination, status);
}

std::string RenameToPrivateName(Entry entry) {
    const std::string_view path(entry.name);
    const std::string folder(path.substr(0, path.rfind('/') + 1));
    while (true) {
        std::string name = folder + NextTemporaryName();
        const Entry hidden{entry.folder, name.c_str()};
        if (RenameAlone(entry, hidden))
            return name;
        if (LacksNoReplace(errno)) {
            struct stat status;
            if (ReadStatus(hidden, status))
                continue;
            // What nobody looks for does not come between the look and the rename.
            return errno == ENOENT && RenameOver(entry, hidden) ? name : std::string();
        }
        if (errno != EEXIST)
            return {};
    }
}

bool UnlinkIfSame(Entry entry, const struct stat& wanted) {
    if (!IsAt(entry, wanted))
        return Fail(ERROR_FILE_NOT_FOUND);
    const std::string name = RenameToPrivateName(entry);
    if (name.empty())
        return (errno != ENOENT && IsAt(entry, wanted) && ::unlinkat(entry.folder, entry.name, 0) == 0) ||
               Fail(ERROR_ACCESS_DENIED);
    const Entry hidden{entry.folder, name.c_str()};
    if (IsAt(hidden, wanted) && ::unlinkat(hidden.folder, hidden.name, 0) == 0)
        return true;
    Return(hidden, entry);
    return Fail(ERROR_ACCESS_DENIED);
}

} // namespace Vellox::Posix
