#include "platform/posix/trees/delete.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"

namespace Vellox::Posix {
namespace {

bool DeleteEntry(int folder, const char* name, bool isKnownFolder, int depth);

// Gives how many entries were deleted; remaining tells whether one could not be.
std::size_t DeleteListed(DIR* listing, bool& remaining, int depth) {
    std::size_t deleted = 0;
    remaining = false;
    ::rewinddir(listing);
    while (const dirent* entry = ::readdir(listing)) {
        if (IsDotName(entry->d_name))
            continue;
        if (DeleteEntry(::dirfd(listing), entry->d_name, entry->d_type == DT_DIR, depth))
            ++deleted;
        else
            remaining = true;
    }
    return deleted;
}

// A file system may pass over entries while others go, so an unfinished folder is read again as long as that helps.
bool DeleteFolder(int parent, const char* name, int depth) {
    if (depth == deepestTree)
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    Descriptor folder = OpenFolderToEmpty({parent, name});
    const Folder listing(folder ? ::fdopendir(folder.Get()) : nullptr);
    if (!listing) {
        // An empty folder goes even if it may not be read.
        const DWORD error = ErrorFromErrno(errno);
        return ::unlinkat(parent, name, AT_REMOVEDIR) == 0 || Fail(error);
    }
    folder.Release();
    bool remaining = false;
    while (DeleteListed(listing.Get(), remaining, depth + 1) > 0 && !remaining) {
        if (::unlinkat(parent, name, AT_REMOVEDIR) == 0)
            return true;
    }
    return ::unlinkat(parent, name, AT_REMOVEDIR) == 0 || FailFromErrno();
}

// What the listing called a folder may have become a link since, and the other way round.
bool DeleteEntry(int folder, const char* name, bool isKnownFolder, int depth) {
    if (isKnownFolder && DeleteFolder(folder, name, depth))
        return true;
    if (::unlinkat(folder, name, 0) == 0)
        return true;
    if (isKnownFolder || (errno != EISDIR && errno != EPERM))
        return FailFromErrno();
    return DeleteFolder(folder, name, depth);
}

constexpr int folderFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Through the open place, as the name can come to mean something else.
Descriptor OpenShutFolder(Entry entry) {
    const Descriptor place = OpenPlaceAt(entry.folder, entry.name, Links::Refuse);
    if (place)
        MayFail(::chmod(("/proc/self/fd/" + std::to_string(place.Get())).c_str(), S_IRWXU));
    return OpenAt(entry.folder, entry.name, O_RDONLY | folderFlags);
}

void LetOwnerIn(int folder) {
    struct stat status;
    if (::fstat(folder, &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU)
        MayFail(::fchmod(folder, (status.st_mode & 07777) | S_IRWXU));
}

} // namespace

Descriptor OpenFolderToEmpty(Entry entry) {
    Descriptor folder = OpenAt(entry.folder, entry.name, O_RDONLY | folderFlags);
    if (!folder && errno == EACCES)
        folder = OpenShutFolder(entry);
    if (folder)
        LetOwnerIn(folder.Get());
    return folder;
}

bool DeleteTreeEntry(Entry entry) {
    return DeleteEntry(entry.folder, entry.name, false, 0);
}

bool DeleteTree(const std::string& path) {
    Place place;
    if (!SplitLastComponent(path, place))
        return Fail(ERROR_ACCESS_DENIED);
    const Descriptor folder = OpenPlace(place.folder.c_str());
    if (!folder)
        return FailFromErrno();
    return DeleteTreeEntry({folder.Get(), place.name.c_str()});
}

} // namespace Vellox::Posix
