#include "platform/posix/identity.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/posix/copy.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/handles.h"
#include "platform/posix/paths.h"
#include "platform/posix/rename.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

namespace Vellox::Posix {
namespace {

constexpr int walkFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

// The folder itself if it is there, or else the one that it would stand in.
Descriptor OpenNearestFolder(const std::string& path) {
    Descriptor folder = Open(path.c_str(), walkFlags);
    Place place;
    if (!folder && SplitLastComponent(path, place))
        folder = Open(place.folder.c_str(), walkFlags);
    return folder;
}

// A link below the folder can lead the path elsewhere; without the folder, the path would still be gone.
bool LeadsThroughFolder(const std::string& path, const struct stat& folder) {
    Place place;
    for (std::string level = path; SplitLastComponent(level, place); level = place.folder) {
        struct stat status;
        if (::stat(place.folder.c_str(), &status) == 0 && IsSameEntry(status, folder))
            return true;
    }
    return false;
}

} // namespace

bool LiesInFolder(const std::string& path, const struct stat& folder) {
    if (LeadsThroughFolder(path, folder))
        return true;
    Descriptor level = OpenNearestFolder(path);
    struct stat status;
    while (level && ::fstat(level.Get(), &status) == 0) {
        if (IsSameEntry(status, folder))
            return true;
        Descriptor above = OpenAt(level.Get(), "..", walkFlags);
        struct stat aboveStatus;
        const bool isRoot = above && ::fstat(above.Get(), &aboveStatus) == 0 && IsSameEntry(status, aboveStatus);
        if (isRoot)
            return false;
        level = std::move(above);
    }
    return false;
}

void KeepFolderAttributes(int folder, const struct stat& status) {
    const struct timespec times[] = {status.st_atim, status.st_mtim};
    MayFail(::fchmod(folder, status.st_mode & 07777));
    MayFail(::futimens(folder, times));
}

namespace {

bool IsAt(Entry entry, const struct stat& wanted) {
    struct stat status;
    return ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && IsSameEntry(status, wanted);
}

bool ReadStatus(HANDLE file, struct stat& status) {
    int descriptor = 0;
    return ToDescriptor(file, descriptor) && ::fstat(descriptor, &status) == 0;
}

} // namespace

bool UnlinkIfSame(Entry entry, const struct stat& wanted) {
    if (!IsAt(entry, wanted))
        return Fail(ERROR_FILE_NOT_FOUND);
    const std::string doomed = NextTemporaryName();
    if (!RenameIntoFreeName(entry.folder, entry.name, entry.folder, doomed.c_str()))
        return errno != ENOENT && IsAt(entry, wanted) && ::unlinkat(entry.folder, entry.name, 0) == 0;
    if (IsAt({entry.folder, doomed.c_str()}, wanted) && ::unlinkat(entry.folder, doomed.c_str(), 0) == 0)
        return true;
    RenameIntoFreeName(entry.folder, doomed.c_str(), entry.folder, entry.name);
    return Fail(ERROR_ACCESS_DENIED);
}

} // namespace Vellox::Posix

using namespace Vellox::Posix;

bool Vellox::Platform::LiesInFolder(const WCHAR* path, const WCHAR* folder) {
    const PosixPath place(path);
    const PosixPath folderPlace(folder);
    struct stat status;
    return place.IsValid() && folderPlace.IsValid() && ::stat(folderPlace.Text(), &status) == 0 &&
           Posix::LiesInFolder(place.Text(), status);
}

// Where the file system has no such locks, moves have to do without.
bool Vellox::Platform::ClaimForMove(HANDLE file) {
    int descriptor = 0;
    return ToDescriptor(file, descriptor) && (Retried([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0 ||
                                              errno != EWOULDBLOCK || Fail(ERROR_SHARING_VIOLATION));
}

bool Vellox::Platform::IsItemAt(const WCHAR* path, HANDLE file) {
    const PosixPath place(path);
    struct stat status;
    return place.IsValid() && ReadStatus(file, status) && IsAt({AT_FDCWD, place.Text()}, status);
}

bool Vellox::Platform::DeleteFileAt(const WCHAR* path, HANDLE file) {
    const PosixPath posixPath(path);
    Place place;
    struct stat status;
    if (!posixPath.IsValid() || !SplitLastComponent(posixPath.View(), place) || !ReadStatus(file, status))
        return false;
    const Descriptor folder = Open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    return folder && UnlinkIfSame({folder.Get(), place.name.c_str()}, status);
}

void Vellox::Platform::CopyFolderAttributes(const WCHAR* from, const WCHAR* to) {
    const PosixPath source(from);
    const PosixPath destination(to);
    struct stat status;
    if (!source.IsValid() || !destination.IsValid() || ::stat(source.Text(), &status) != 0)
        return;
    const Descriptor folder = Open(destination.Text(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder)
        KeepFolderAttributes(folder.Get(), status);
}
