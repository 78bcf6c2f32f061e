#include "platform/posix/trees/remove_copied.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/delete.h"
#include "platform/posix/trees/walk.h"

namespace Vellox::Posix {
namespace {

// Removes the entry if a look at it under a private name, isTheSame(entry), says so.
template <typename Look> bool RemoveUnderPrivateName(Entry entry, Look isTheSame) {
    const std::string name = RenameToPrivateName(entry);
    if (name.empty())
        return FailFromErrno();
    if (!isTheSame(Entry{entry.folder, name.c_str()}))
        Fail(ERROR_BUSY);
    else if (::unlinkat(entry.folder, name.c_str(), 0) == 0)
        return true;
    else
        FailFromErrno();
    // If another entry has come to the old name meanwhile, this one keeps the name that it has.
    RenameIntoFreeName(entry.folder, name.c_str(), entry.folder, entry.name);
    return false;
}

// What one program writes in the moment of the comparison, another time of the file tells.
bool HoldSameBytesStill(int file, int copy, const struct stat& status) {
    struct stat now;
    return HoldSameBytes(file, copy, status.st_size) && ::fstat(file, &now) == 0 && IsInState(now, StateOf(status));
}

} // namespace

bool RemoveCopiedFile(Entry source, int file, int copy, const CopiedFile* copied) {
    struct stat status;
    struct stat copyStatus;
    if (::fstat(file, &status) != 0 || ::fstat(copy, &copyStatus) != 0)
        return FailFromErrno();
    if (!S_ISREG(copyStatus.st_mode) || status.st_size != copyStatus.st_size)
        return Fail(ERROR_BUSY);
    const bool isAsCopied = copied != nullptr && copied->showsWrites && IsInState(status, copied->source) &&
                            HasStateOfContents(copyStatus, copied->copy);
    return RemoveUnderPrivateName(source, [&](Entry entry) {
        struct stat now;
        return ::fstatat(entry.folder, entry.name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
               HasStateOfContents(now, StateOf(status)) && (isAsCopied || HoldSameBytesStill(file, copy, now));
    });
}

bool RemoveCopiedSpecial(Entry source, Entry copy) {
    struct stat copyStatus;
    if (::fstatat(copy.folder, copy.name, &copyStatus, AT_SYMLINK_NOFOLLOW) != 0)
        return FailFromErrno();
    if (!S_ISLNK(copyStatus.st_mode) && !S_ISFIFO(copyStatus.st_mode))
        return Fail(ERROR_BUSY);
    return RemoveUnderPrivateName(source, [&](Entry entry) {
        struct stat now;
        return ::fstatat(entry.folder, entry.name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
               (now.st_mode & S_IFMT) == (copyStatus.st_mode & S_IFMT) &&
               (S_ISFIFO(now.st_mode) || HoldSameTarget(entry, copy));
    });
}

bool RemoveCopy(Entry copy, const FileState& state) {
    return RemoveUnderPrivateName(copy, [&](Entry entry) {
        struct stat now;
        return ::fstatat(entry.folder, entry.name, &now, AT_SYMLINK_NOFOLLOW) == 0 && HasStateOfContents(now, state);
    });
}

namespace {

// Goes through a folder and what lies below it, and removes what the derived class can answer for.
class TreeRemoval {
public:
    Removal Run(int top) {
        EnterFolder({top, "."});
        while (!levels_.empty() && !isLost_) {
            Names::Name entry;
            if (levels_.back().names.Next(entry))
                Note(RemoveEntry(entry));
            else
                LeaveFolder();
        }
        return {hasLost_, !holdsMore_};
    }

protected:
    TreeRemoval() : way_(AT_FDCWD, O_RDONLY) {}
    ~TreeRemoval() = default;

    virtual bool EnterOther(const char* /*name*/) { return true; }
    virtual bool LeaveOther() { return true; }
    virtual bool RemoveAnyButFolder(Entry entry, const struct stat& status) = 0;

private:
    enum class Outcome { Removed, Stays, Entered };

    struct Level {
        std::string name;
        Names names;
        bool holdsMore = false;
    };

    void Note(Outcome outcome) {
        hasLost_ = hasLost_ || outcome == Outcome::Removed;
        if (outcome != Outcome::Stays)
            return;
        holdsMore_ = true;
        if (!levels_.empty())
            levels_.back().holdsMore = true;
    }

    Outcome RemoveEntry(const Names::Name& entry) {
        const Entry place{way_.Folder(), entry.text};
        struct stat status;
        if (entry.kind == DT_DIR)
            return EnterFolder(place);
        if (::fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            FailFromErrno();
            return Outcome::Stays;
        }
        if (S_ISDIR(status.st_mode))
            return EnterFolder(place);
        return RemoveAnyButFolder(place, status) ? Outcome::Removed : Outcome::Stays;
    }

    Outcome EnterFolder(Entry entry) {
        Level level{entry.name, {}};
        Descriptor folder = OpenFolderToEmpty(entry);
        if (!folder || !level.names.Read(folder.Get()) || !EnterOther(entry.name)) {
            FailFromErrno();
            return Outcome::Stays;
        }
        if (!way_.GoDown(std::move(folder)))
            isLost_ = true;
        levels_.push_back(std::move(level));
        return isLost_ ? Outcome::Stays : Outcome::Entered;
    }

    void LeaveFolder() {
        const Level level = std::move(levels_.back());
        levels_.pop_back();
        Descriptor left;
        const bool isUp = way_.GoUp(left);
        isLost_ = !LeaveOther() || !isUp;
        if (levels_.empty())
            return; // the top stays
        if (!isLost_ && !level.holdsMore && ::unlinkat(way_.Folder(), level.name.c_str(), AT_REMOVEDIR) == 0)
            return Note(Outcome::Removed);
        if (!level.holdsMore)
            FailFromErrno();
        Note(Outcome::Stays);
    }

    WayDown way_;
    std::vector<Level> levels_;
    bool hasLost_ = false;
    bool holdsMore_ = false;
    bool isLost_ = false; // there is no way on from here
};

class SourceRemoval : public TreeRemoval {
public:
    SourceRemoval(int copy, const CopiedFiles& copied) : copy_(copy, O_PATH), copied_(copied) {}

private:
    bool EnterOther(const char* name) override {
        Descriptor folder = OpenPlaceAt(copy_.Folder(), name, Links::Refuse);
        return folder && copy_.GoDown(std::move(folder));
    }

    bool LeaveOther() override {
        Descriptor left;
        return copy_.GoUp(left);
    }

    bool RemoveAnyButFolder(Entry entry, const struct stat& status) override {
        const Entry copy{copy_.Folder(), entry.name};
        return S_ISREG(status.st_mode) ? RemoveFile(entry, copy) : RemoveCopiedSpecial(entry, copy);
    }

    // Nobody who uses this library may write from the first look to the end, as his bytes would end with the file.
    bool RemoveFile(Entry entry, Entry copy) {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const Descriptor file = OpenAt(entry.folder, entry.name, flags);
        const Descriptor copyFile = OpenAt(copy.folder, copy.name, flags);
        struct stat status;
        if (!file || !copyFile || ::fstat(file.Get(), &status) != 0)
            return FailFromErrno();
        return TakeSharingLocks(file.Get(), GENERIC_READ, FILE_SHARE_READ) &&
               RemoveCopiedFile(entry, file.Get(), copyFile.Get(), copied_.Find(status));
    }

    WayDown copy_;
    const CopiedFiles& copied_;
};

class CopyRemoval : public TreeRemoval {
public:
    explicit CopyRemoval(const CopiedFiles& copied) : copies_(copied.Copies()) {}

private:
    bool RemoveAnyButFolder(Entry entry, const struct stat& status) override {
        const auto copy = copies_.find(IdentityOf(status));
        return copy != copies_.end() ? RemoveCopy(entry, copy->second) : Fail(ERROR_BUSY);
    }

    std::unordered_map<Identity, FileState, HashOfIdentity> copies_;
};

} // namespace

Removal RemoveCopiedContents(int source, int copy, const CopiedFiles& copied) {
    return SourceRemoval(copy, copied).Run(source);
}

void RemoveCopies(int copy, const CopiedFiles& copied) {
    CopyRemoval(copied).Run(copy);
}

} // namespace Vellox::Posix
