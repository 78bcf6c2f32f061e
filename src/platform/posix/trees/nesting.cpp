#include "platform/posix/trees/nesting.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/trees/walk.h"

namespace Vellox::Posix {
namespace {

Descriptor OpenNearestFolder(std::string path) {
    Place place;
    while (true) {
        Descriptor folder = OpenPlace(path.c_str());
        if (folder || !SplitLastComponent(path, place))
            return folder;
        path = place.folder;
    }
}

std::vector<Identity> FoldersUp(Descriptor folder) {
    std::vector<Identity> folders;
    struct stat status;
    while (folder && ::fstat(folder.Get(), &status) == 0) {
        if (!folders.empty() && folders.back() == IdentityOf(status))
            break; // the root is above itself
        folders.push_back(IdentityOf(status));
        folder = OpenPlaceAt(folder.Get(), "..", Links::Follow);
    }
    return folders;
}

bool IsOneOf(const std::vector<Identity>& folders, const struct stat& status) {
    return std::find(folders.begin(), folders.end(), IdentityOf(status)) != folders.end();
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

// The statx of Linux 5.8 tells the mount; before, and where a seccomp filter refuses statx, all count as different.
bool AreOnOneMount(int first, int second) {
    struct statx one = {};
    struct statx other = {};
    const bool isKnown = ::statx(first, "", AT_EMPTY_PATH, STATX_MNT_ID, &one) == 0 &&
                         ::statx(second, "", AT_EMPTY_PATH, STATX_MNT_ID, &other) == 0 &&
                         (one.stx_mask & other.stx_mask & STATX_MNT_ID) != 0;
    return isKnown && one.stx_mnt_id == other.stx_mnt_id;
}

// Looks through the whole tree; what cannot be opened is not looked at, and cannot be copied either.
bool HoldsOneOf(int top, const std::vector<Identity>& wanted) {
    std::vector<Names> folders;
    WayDown way(top, O_RDONLY);
    const auto enter = [&](const char* name) {
        Descriptor folder = OpenAt(way.Folder(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        struct stat status;
        if (!folder || ::fstat(folder.Get(), &status) != 0)
            return false;
        Names names;
        if (IsOneOf(wanted, status))
            return true;
        if (names.Read(folder.Get()) && way.GoDown(std::move(folder)))
            folders.push_back(std::move(names));
        return false;
    };
    if (enter("."))
        return true;
    while (!folders.empty()) {
        Names::Name name;
        Descriptor left;
        if (!folders.back().Next(name)) {
            folders.pop_back();
            if (!way.GoUp(left))
                return false;
        } else if ((name.kind == DT_DIR || name.kind == DT_UNKNOWN) && enter(name.text)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<Identity> FoldersAround(const std::string& path) {
    return FoldersUp(OpenNearestFolder(path));
}

std::vector<Identity> FoldersUpFrom(int folder) {
    return FoldersUp(OpenPlaceAt(folder, ".", Links::Follow));
}

bool LiesInFolder(const std::string& path, int folder) {
    struct stat status;
    struct stat nearestStatus;
    Descriptor nearest = OpenNearestFolder(path);
    if (!nearest || ::fstat(nearest.Get(), &nearestStatus) != 0 || ::fstat(folder, &status) != 0)
        return false;
    if (LeadsThroughFolder(path, status))
        return true;
    // The way up ends at a mount's own root, so what is mounted a second time is looked for on the way down.
    const bool mayBeMountedTwice = status.st_dev == nearestStatus.st_dev && !AreOnOneMount(folder, nearest.Get());
    const std::vector<Identity> around = FoldersUp(std::move(nearest));
    return IsOneOf(around, status) || (mayBeMountedTwice && HoldsOneOf(folder, around));
}

} // namespace Vellox::Posix
