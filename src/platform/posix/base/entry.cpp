#include "platform/posix/base/entry.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/paths.h"

namespace Vellox::Posix {
namespace {

// The folder itself if it is there, or else the one that it would stand in.
Descriptor OpenNearestFolder(const std::string& path) {
    Descriptor folder = OpenPlace(path.c_str());
    Place place;
    if (!folder && SplitLastComponent(path, place))
        folder = OpenPlace(place.folder.c_str());
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
        Descriptor above = OpenPlaceAt(level.Get(), "..", Links::Follow);
        struct stat aboveStatus;
        const bool isRoot = above && ::fstat(above.Get(), &aboveStatus) == 0 && IsSameEntry(status, aboveStatus);
        if (isRoot)
            return false;
        level = std::move(above);
    }
    return false;
}

bool IsAt(Entry entry, const struct stat& wanted) {
    struct stat status;
    return ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && IsSameEntry(status, wanted);
}

// The number of the process is asked for each time: after a fork it is another one. And the library keeps no text,
// which would be gone before the last of a host's exit handlers has called.
std::string NextTemporaryName() {
    static std::atomic<unsigned> counter{0};
    return ".vellox-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

} // namespace Vellox::Posix
