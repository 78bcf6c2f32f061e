#include "platform/posix/trees/copy_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/attributes.h"
#include "platform/posix/trees/copy_file.h"
#include "platform/posix/trees/delete.h"

namespace Vellox::Posix {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

bool CopyFile(Entry from, Entry to, Existing existing) {
    const Descriptor source = OpenAt(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (!source || ::fstat(source.Get(), &status) != 0)
        return FailFromErrno();
    if (!S_ISREG(status.st_mode))
        return Fail(ERROR_ACCESS_DENIED);
    if (!TakeSharingLocks(source.Get(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE))
        return false;
    return CopyRegularFile({source.Get(), status}, to, existing, Keep::ForCopy);
}

bool CopyFifo(Entry from, const struct stat& status, Entry to, Existing existing) {
    const Descriptor source = OpenAt(from.folder, from.name, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    TemporaryEntry entry(to.folder);
    if (entry.Create([](int folder, const char* name) { return ::mkfifoat(folder, name, 0600); }) != 0)
        return FailFromErrno();
    const Descriptor copy = OpenAt(to.folder, entry.Name(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (source && copy)
        KeepAttributes({source.Get(), status}, copy.Get(), Keep::ForCopy);
    return entry.Publish(to.name, existing);
}

bool CopyAnyButFolder(Entry from, const struct stat& status, Entry to, Existing existing) {
    if (S_ISREG(status.st_mode))
        return CopyFile(from, to, existing);
    if (S_ISLNK(status.st_mode))
        return CopyLink(from, status, to, existing);
    if (S_ISFIFO(status.st_mode))
        return CopyFifo(from, status, to, existing);
    return Fail(ERROR_NOT_SUPPORTED);
}

// A file that someone uses without sharing is not replaced under his hands.
bool HoldEntry(Entry entry, const struct stat& status, Descriptor& held) {
    if (!S_ISREG(status.st_mode))
        return true;
    constexpr int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    held = OpenAt(entry.folder, entry.name, O_RDONLY | flags);
    if (!held)
        held = OpenAt(entry.folder, entry.name, O_WRONLY | flags);
    return !held || TakeSharingLocks(held.Get(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
}

// A folder to copy into.
struct Destination {
    int folder;
    bool isUnnamed;            // this copy makes it, and nobody knows it by its name before all is in it
    const struct stat& source; // the folder that all is copied from, into which nothing goes
};

Folder OpenSource(Entry entry, int flags, struct stat& status) {
    Descriptor opened = OpenAt(entry.folder, entry.name, folderFlags | flags);
    Folder listing(opened && ::fstat(opened.Get(), &status) == 0 ? ::fdopendir(opened.Get()) : nullptr);
    if (!listing)
        FailFromErrno();
    else
        opened.Release();
    return listing;
}

bool IsSameFolder(int folder, const struct stat& wanted) {
    struct stat status;
    return ::fstat(folder, &status) != 0 || IsSameEntry(status, wanted);
}

bool CopyListed(DIR* listing, Destination to, int depth);

bool FillNewFolder(DIR* listing, const struct stat& status, Entry to, const struct stat& source, int depth) {
    const Descriptor folder = OpenAt(to.folder, to.name, folderFlags | O_NOFOLLOW);
    if (!folder)
        return FailFromErrno();
    const bool whole = CopyListed(listing, {folder.Get(), true, source}, depth);
    KeepAttributes({::dirfd(listing), status}, folder.Get(), Keep::ForCopy);
    return whole;
}

// Takes the name in one step. False if that cannot be done, as when someone else has made a folder there meanwhile;
// else whole tells whether all could be copied.
bool CopyToFreeName(DIR* listing, const struct stat& status, Entry to, const struct stat& source, int depth,
                    bool& whole) {
    TemporaryEntry copy(to.folder);
    if (copy.Create([](int folder, const char* name) { return ::mkdirat(folder, name, 0700); }) != 0)
        return FailWritingFromErrno();
    whole = FillNewFolder(listing, status, {to.folder, copy.Name()}, source, depth);
    return copy.Publish(to.name, Existing::Refuse);
}

// The flags are for the opening of what stands at the destination.
bool CopyFolderTo(DIR* listing, const struct stat& status, Entry to, int flags, const struct stat& source, int depth) {
    Descriptor existing = OpenAt(to.folder, to.name, folderFlags | flags);
    if (!existing && errno == ENOENT) {
        bool whole = false;
        if (CopyToFreeName(listing, status, to, source, depth, whole))
            return whole;
        existing = OpenAt(to.folder, to.name, folderFlags | flags);
    }
    if (!existing)
        return FailFromErrno();
    if (IsSameFolder(existing.Get(), source))
        return Fail(ERROR_SHARING_VIOLATION);
    return CopyListed(listing, {existing.Get(), false, source}, depth);
}

bool CopySubfolder(Entry from, Destination parent, int depth) {
    struct stat status;
    const Folder listing = OpenSource(from, O_NOFOLLOW, status);
    if (!listing)
        return false;
    const Entry to{parent.folder, from.name};
    if (!parent.isUnnamed)
        return CopyFolderTo(listing.Get(), status, to, O_NOFOLLOW, parent.source, depth);
    return (::mkdirat(to.folder, to.name, 0700) == 0 || FailWritingFromErrno()) &&
           FillNewFolder(listing.Get(), status, to, parent.source, depth);
}

bool CopyOverExisting(Entry from, const struct stat& status, Entry to) {
    struct stat existing;
    if (::fstatat(to.folder, to.name, &existing, AT_SYMLINK_NOFOLLOW) != 0)
        return CopyAnyButFolder(from, status, to, Existing::Refuse);
    if (IsSameEntry(status, existing))
        return Fail(ERROR_SHARING_VIOLATION);
    Descriptor held;
    return HoldEntry(to, existing, held) && CopyAnyButFolder(from, status, to, Existing::Replace);
}

// The kind is the one that the listing told.
bool CopyEntry(Entry from, unsigned char kind, Destination to, int depth) {
    const Entry copy{to.folder, from.name};
    if (kind == DT_REG && to.isUnnamed)
        return CopyFile(from, copy, Existing::Impossible);
    struct stat status;
    if (::fstatat(from.folder, from.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return FailFromErrno();
    if (S_ISDIR(status.st_mode))
        return CopySubfolder(from, to, depth + 1);
    return to.isUnnamed ? CopyAnyButFolder(from, status, copy, Existing::Impossible)
                        : CopyOverExisting(from, status, copy);
}

bool CopyListed(DIR* listing, Destination to, int depth) {
    if (depth == deepestTree)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    ::rewinddir(listing);
    bool whole = true;
    errno = 0;
    while (const dirent* entry = ::readdir(listing)) {
        if (!IsDotName(entry->d_name) && !CopyEntry({::dirfd(listing), entry->d_name}, entry->d_type, to, depth))
            whole = false;
        errno = 0;
    }
    return (errno == 0 || FailFromErrno()) && whole;
}

} // namespace

bool CopyLink(Entry from, const struct stat& status, Entry to, Existing existing) {
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(from.folder, from.name, target, sizeof target);
    if (length < 0)
        return FailFromErrno();
    if (static_cast<std::size_t>(length) == sizeof target)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    target[length] = '\0';
    TemporaryEntry entry(to.folder);
    const auto make = [&](int folder, const char* name) { return ::symlinkat(target, folder, name); };
    if (entry.Create(make) != 0)
        return FailFromErrno();
    KeepLinkAttributes(status, {to.folder, entry.Name()}, Keep::ForCopy);
    return entry.Publish(to.name, existing);
}

bool CopyTreeContents(const std::string& source, const std::string& destination) {
    struct stat status;
    const Folder listing = OpenSource({AT_FDCWD, source.c_str()}, 0, status);
    if (!listing)
        return false;
    if (LiesInFolder(destination, status))
        return Fail(ERROR_SHARING_VIOLATION);
    Place place;
    if (!SplitLastComponent(destination, place))
        return CopyFolderTo(listing.Get(), status, {AT_FDCWD, destination.c_str()}, 0, status, 0);
    const Descriptor parent = OpenPlace(place.folder.c_str());
    return parent ? CopyFolderTo(listing.Get(), status, {parent.Get(), place.name.c_str()}, 0, status, 0)
                  : FailFromErrno();
}

} // namespace Vellox::Posix
