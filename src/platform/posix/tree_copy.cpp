#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "platform/posix/copy.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/identity.h"
#include "platform/posix/paths.h"
#include "platform/posix/sharing.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

namespace Vellox::Posix {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int placeFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

bool CopyFile(Entry from, Entry to, Existing existing) {
    const Descriptor source = OpenAt(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (!source || ::fstat(source.Get(), &status) != 0)
        return FailFromErrno();
    if (!S_ISREG(status.st_mode))
        return Fail(ERROR_ACCESS_DENIED);
    if (!TakeSharingLocks(source.Get(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE))
        return false;
    return CopyRegularFile(source.Get(), status, to.folder, to.name, existing);
}

void KeepEntryAttributes(Entry entry, const struct stat& status) {
    const struct timespec times[] = {status.st_atim, status.st_mtim};
    if (!S_ISLNK(status.st_mode))
        MayFail(::fchmodat(entry.folder, entry.name, status.st_mode & 0777, 0));
    MayFail(::utimensat(entry.folder, entry.name, times, AT_SYMLINK_NOFOLLOW));
}

bool CopyFifo(const struct stat& status, Entry to, Existing existing) {
    TemporaryEntry entry(to.folder);
    if (entry.Create([](int folder, const char* name) { return ::mkfifoat(folder, name, 0600); }) != 0)
        return FailFromErrno();
    KeepEntryAttributes({to.folder, entry.Name()}, status);
    return entry.Publish(to.name, existing);
}

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
    KeepEntryAttributes({to.folder, entry.Name()}, status);
    return entry.Publish(to.name, existing);
}

bool CopyAnyButFolder(Entry from, const struct stat& status, Entry to, Existing existing) {
    if (S_ISREG(status.st_mode))
        return CopyFile(from, to, existing);
    if (S_ISLNK(status.st_mode))
        return CopyLink(from, status, to, existing);
    if (S_ISFIFO(status.st_mode))
        return CopyFifo(status, to, existing);
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

// A folder to copy into. One that this copy has made is known to hold nothing.
struct Destination {
    int folder;
    bool isNew;
    const struct stat& source; // the folder that all is copied from, into which nothing goes
};

bool IsSameFolder(int folder, const struct stat& wanted) {
    struct stat status;
    return ::fstat(folder, &status) != 0 || IsSameEntry(status, wanted);
}

bool CopyOpenFolder(Descriptor from, Destination to, int depth);

bool CopySubfolder(Entry from, Destination parent, int depth) {
    const Entry to{parent.folder, from.name};
    Descriptor source = OpenAt(from.folder, from.name, folderFlags | O_NOFOLLOW);
    struct stat status;
    if (!source || ::fstat(source.Get(), &status) != 0)
        return FailFromErrno();
    const bool isNew = ::mkdirat(to.folder, to.name, 0700) == 0;
    if (!isNew && errno != EEXIST)
        return FailFromErrno();
    const Descriptor destination = OpenAt(to.folder, to.name, folderFlags | O_NOFOLLOW);
    if (!destination)
        return FailFromErrno();
    if (!isNew && IsSameFolder(destination.Get(), parent.source))
        return Fail(ERROR_SHARING_VIOLATION);
    const bool whole = CopyOpenFolder(std::move(source), {destination.Get(), isNew, parent.source}, depth);
    if (isNew)
        KeepFolderAttributes(destination.Get(), status);
    return whole;
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
    if (kind == DT_REG && to.isNew)
        return CopyFile(from, copy, Existing::Refuse);
    struct stat status;
    if (::fstatat(from.folder, from.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return FailFromErrno();
    if (S_ISDIR(status.st_mode))
        return CopySubfolder(from, to, depth + 1);
    return to.isNew ? CopyAnyButFolder(from, status, copy, Existing::Refuse) : CopyOverExisting(from, status, copy);
}

bool CopyOpenFolder(Descriptor from, Destination to, int depth) {
    if (depth == deepestTree)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    const Folder listing(::fdopendir(from.Get()));
    if (listing == nullptr)
        return FailFromErrno();
    const int folder = from.Release();
    bool whole = true;
    errno = 0;
    while (const dirent* entry = ::readdir(listing.get())) {
        if (!IsDotName(entry->d_name) && !CopyEntry({folder, entry->d_name}, entry->d_type, to, depth))
            whole = false;
        errno = 0;
    }
    return (errno == 0 || FailFromErrno()) && whole;
}

} // namespace

bool CopyTreeContents(const std::string& source, const std::string& destination) {
    Descriptor from = Open(source.c_str(), folderFlags);
    struct stat status;
    if (!from || ::fstat(from.Get(), &status) != 0)
        return FailFromErrno();
    if (LiesInFolder(destination, status))
        return Fail(ERROR_SHARING_VIOLATION);
    const bool isNew = ::mkdir(destination.c_str(), 0700) == 0;
    if (!isNew && errno != EEXIST)
        return FailFromErrno();
    const Descriptor to = Open(destination.c_str(), folderFlags);
    if (!to)
        return FailFromErrno();
    const bool whole = CopyOpenFolder(std::move(from), {to.Get(), isNew, status}, 0);
    if (isNew)
        KeepFolderAttributes(to.Get(), status);
    return whole;
}

} // namespace Vellox::Posix

bool Vellox::Platform::CopyLink(const WCHAR* link, const WCHAR* newLink) {
    const Posix::PosixPath from(link);
    const Posix::PosixPath to(newLink);
    Posix::Place place;
    if (!from.IsValid() || !to.IsValid() || !Posix::SplitLastComponent(to.View(), place))
        return false;
    const Posix::Descriptor folder = Posix::Open(place.folder.c_str(), Posix::placeFlags);
    struct stat status;
    if (!folder || ::lstat(from.Text(), &status) != 0)
        return Posix::FailFromErrno();
    return Posix::CopyLink({AT_FDCWD, from.Text()}, status, {folder.Get(), place.name.c_str()},
                           Posix::Existing::Refuse);
}
