#include "platform/posix/trees/delete.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/trees/walk.h"

namespace Vellox::Posix {
namespace {

class TreeDeletion {
public:
    explicit TreeDeletion(int place) : way_(place, O_RDONLY), folders_(1) {}

    // Deletes the entry of that name in the place, with all that it holds.
    bool RemoveEntry(const char* name) {
        DeleteEntry({name, DT_UNKNOWN});
        return Run();
    }

    // Deletes what the place, which is a folder, holds.
    bool EmptyPlace() {
        DeleteEntry({itself, DT_DIR});
        return Run();
    }

private:
    static constexpr char itself[] = ".";

    struct Level {
        std::string name;
        Names names;
        bool hasLost = false;   // entries, since its names were read
        bool holdsMore = false; // an entry that could not be deleted
    };

    bool Run() {
        while (folders_.size() > 1) {
            Names::Name entry;
            if (folders_.back().names.Next(entry))
                DeleteEntry(entry);
            else if (!LeaveFolder())
                return false;
        }
        return !folders_.back().holdsMore;
    }

    void Note(bool isDeleted) {
        Level& folder = folders_.back();
        folder.hasLost = folder.hasLost || isDeleted;
        folder.holdsMore = folder.holdsMore || !isDeleted;
    }

    // What the listing called a folder may have become a link since, and the other way round.
    void DeleteEntry(const Names::Name& entry) {
        const bool isKnownFolder = entry.kind == DT_DIR;
        if (!isKnownFolder) {
            if (::unlinkat(way_.Folder(), entry.text, 0) == 0)
                return Note(true);
            if (errno != EISDIR && errno != EPERM)
                return Note(FailFromErrno());
        }
        Descriptor folder = OpenFolderToEmpty({way_.Folder(), entry.text});
        if (folder)
            return EnterFolder(entry.text, std::move(folder));
        const DWORD error = ErrorFromErrno(errno);
        const bool isDeleted = ::unlinkat(way_.Folder(), entry.text, AT_REMOVEDIR) == 0 || // empty, and not readable
                               (isKnownFolder && ::unlinkat(way_.Folder(), entry.text, 0) == 0);
        Note(isDeleted || Fail(error));
    }

    // A listing that ends early shows when the folder cannot be removed.
    void EnterFolder(std::string name, Descriptor folder) {
        Names names;
        MayFail(names.Read(folder.Get()) ? 0 : -1);
        if (!way_.GoDown(std::move(folder)))
            return Note(FailFromErrno());
        folders_.push_back({std::move(name), std::move(names)});
    }

    // False if there is no way back up.
    bool LeaveFolder() {
        const Level left = std::move(folders_.back());
        folders_.pop_back();
        Descriptor folder;
        if (!way_.GoUp(folder))
            return FailFromErrno();
        const bool isDeleted =
            left.name == itself ? !left.holdsMore : ::unlinkat(way_.Folder(), left.name.c_str(), AT_REMOVEDIR) == 0;
        // A listing may have passed over entries, or others have come, so it is read again as long as that helps.
        if (!isDeleted && left.hasLost && !left.holdsMore && ::lseek(folder.Get(), 0, SEEK_SET) == 0)
            EnterFolder(left.name, std::move(folder));
        else
            Note(isDeleted || (!left.holdsMore && FailFromErrno()));
        return true;
    }

    WayDown way_;
    std::vector<Level> folders_; // those on the way, behind one for the place
};

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
    return TreeDeletion(entry.folder).RemoveEntry(entry.name);
}

bool DeleteContents(int folder) {
    return TreeDeletion(folder).EmptyPlace();
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
