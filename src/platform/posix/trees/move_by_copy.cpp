#include "platform/posix/trees/move_by_copy.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <utility>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/rename.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/compare.h"
#include "platform/posix/trees/copied.h"
#include "platform/posix/trees/copy_tree.h"
#include "platform/posix/trees/delete.h"
#include "platform/posix/trees/nesting.h"
#include "platform/posix/trees/remove_copied.h"

namespace Vellox::Posix {
namespace {

using Platform::CopyOfWhatStays;
using Platform::MoveByCopyResult;

// A name in a folder that stays open.
struct HeldPlace {
    Descriptor folder;
    std::string name;

    bool Open(const std::string& path, int flags) {
        Place place;
        if (!SplitLastComponent(path, place))
            return Fail(ERROR_ACCESS_DENIED);
        name = place.name;
        folder = Posix::Open(place.folder.c_str(), flags | O_DIRECTORY | O_CLOEXEC);
        if (!folder && errno == EACCES) // it can hold entries and not be read
            folder = OpenPlace(place.folder.c_str());
        return folder || FailFromErrno();
    }

    Entry At() const { return {folder.Get(), name.c_str()}; }
};

// Takes an open entry for a move by copy, until it is closed; false if another such move has it. A file system without
// flock says so with another error than EWOULDBLOCK, and moves there have to do without.
bool Claim(int entry) {
    return Retried([&] { return ::flock(entry, LOCK_EX | LOCK_NB); }) == 0 || errno != EWOULDBLOCK ||
           Fail(ERROR_SHARING_VIOLATION);
}

bool BringToDisk(int file) {
    return Retried([&] { return ::fsync(file); }) == 0 || FailWritingFromErrno();
}

// An open place that entries can be named in is enough for a copy. If it may not be read it cannot be written out, and
// some file systems cannot write out a folder by itself, and say so with EINVAL.
bool BringNamesToDisk(int folder) {
    return BringToDisk(folder) || errno == EBADF || errno == EINVAL;
}

// An empty folder has nothing to lose, also if another one has taken the name since the look.
bool RemoveFolderIfSame(Entry entry, const struct stat& status) {
    return IsAt(entry, status) && ::unlinkat(entry.folder, entry.name, AT_REMOVEDIR) == 0;
}

// A copy in the making, beside the place that it is to have, under a name that no other program looks for. Unless it
// got there, it is deleted in the end: just what was made here, whatever stands under that name by then.
class CopyBeside {
public:
    explicit CopyBeside(const HeldPlace& place) : place_(place) {}
    CopyBeside(const CopyBeside&) = delete;
    CopyBeside& operator=(const CopyBeside&) = delete;
    ~CopyBeside() {
        if (name_.empty())
            return;
        const KeptErrors errors;
        struct stat status;
        const Entry entry{place_.folder.Get(), name_.c_str()};
        if (::fstat(opened_.Get(), &status) != 0)
            return;
        if (!S_ISDIR(status.st_mode))
            UnlinkIfSame(entry, status);
        else if (DeleteContents(opened_.Get()))
            RemoveFolderIfSame(entry, status);
    }

    // Calls make(entry), which makes one exclusively and gives it opened, or none with errno set. False, with the last
    // error set, if none could be made.
    template <typename Make> bool Create(Make make) {
        constexpr int mostNumbers = 100'000;
        for (int number = 1; number < mostNumbers; ++number) {
            const std::string name = ".vellox-move" + std::to_string(number);
            if (name == place_.name)
                continue;
            opened_ = make(Entry{place_.folder.Get(), name.c_str()});
            if (opened_)
                name_ = name;
            if (opened_ || errno != EEXIST)
                return opened_ || FailWritingFromErrno();
        }
        return FailWritingFromErrno();
    }

    // Gives the copy its place, in one step and if that is free.
    MoveByCopyResult Publish() {
        const Entry to = place_.At();
        if (!RenameIntoFreeName(to.folder, name_.c_str(), to.folder, to.name))
            return errno == EEXIST ? MoveByCopyResult::NameTaken : MoveByCopyResult::Failed;
        if (IsOtherAt(to)) { // which another program has put under the name beside
            RenameIntoFreeName(to.folder, to.name, to.folder, name_.c_str());
            return MoveByCopyResult::Failed;
        }
        name_.clear();
        return MoveByCopyResult::Done;
    }

    int Get() const { return opened_.Get(); }

private:
    // Where that cannot be told, the entry counts as the copy: it has its place, and the source may stay or go.
    bool IsOtherAt(Entry entry) const {
        struct stat copy;
        struct stat status;
        return ::fstat(opened_.Get(), &copy) == 0 &&
               ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && !IsSameEntry(copy, status);
    }

    const HeldPlace& place_;
    Descriptor opened_;
    std::string name_; // empty when there is nothing to delete
};

Descriptor MakeFile(Entry entry) {
    return OpenAt(entry.folder, entry.name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}

Descriptor MakeFolder(Entry entry) {
    if (::mkdirat(entry.folder, entry.name, 0700) != 0)
        return {};
    Descriptor folder = OpenAt(entry.folder, entry.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (!folder) {
        const KeptErrors errors;
        ::unlinkat(entry.folder, entry.name, AT_REMOVEDIR);
    }
    return folder;
}

// The source and the place of its copy, both held open.
struct Move {
    HeldPlace from;
    HeldPlace to;
    CopyOfWhatStays copyOfWhatStays;

    // Asked when nothing of the source could be removed. One that another program has moved on or replaced meanwhile
    // is no longer there to stay, and the copy is all there is of it.
    bool IsToBeTakenBack(const struct stat& source) const {
        return copyOfWhatStays == CopyOfWhatStays::TakeBack && IsAt(from.At(), source);
    }
};

MoveByCopyResult MoveFile(const Move& move) {
    const Entry from = move.from.At();
    const Descriptor source = OpenAt(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (!source || ::fstat(source.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !TakeSharingLocks(source.Get(), GENERIC_READ, FILE_SHARE_READ) || !Claim(source.Get()) || !IsAt(from, status))
        return MoveByCopyResult::Failed;
    CopyBeside copy(move.to);
    CopiedFile copied;
    if (!copy.Create(MakeFile) || !Claim(copy.Get()) || !CopyForMove({source.Get(), status}, copy.Get(), copied) ||
        !BringToDisk(copy.Get()))
        return MoveByCopyResult::Failed;
    const MoveByCopyResult result = copy.Publish();
    if (result != MoveByCopyResult::Done)
        return result;
    const bool isRemoved =
        BringNamesToDisk(move.to.folder.Get()) && RemoveCopiedFile(from, source.Get(), copy.Get(), &copied);
    if (isRemoved || !move.IsToBeTakenBack(status))
        return MoveByCopyResult::Done;
    RemoveCopy(move.to.At(), copied.copy);
    return MoveByCopyResult::Failed;
}

// All of the copy is written out with one call for the whole volume, instead of one for each file.
bool FillFolder(int source, const struct stat& status, int copy, CopiedFiles& copied) {
    if (!CopyTreeForMove(source, copy, copied))
        return false;
    KeepAttributes({source, status}, copy, Keep::ForMove);
    return Retried([&] { return ::syncfs(copy); }) == 0 || FailWritingFromErrno();
}

MoveByCopyResult MoveFolder(const Move& move, const std::string& destination) {
    const Entry from = move.from.At();
    const Descriptor source = OpenAt(from.folder, from.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status;
    if (!source || ::fstat(source.Get(), &status) != 0 || LiesInFolder(destination, source.Get()) ||
        !Claim(source.Get()) || !IsAt(from, status))
        return MoveByCopyResult::Failed;
    CopyBeside copy(move.to);
    CopiedFiles copied;
    if (!copy.Create(MakeFolder) || !Claim(copy.Get()) || !FillFolder(source.Get(), status, copy.Get(), copied) ||
        !HoldSameTree(source.Get(), copy.Get(), copied))
        return MoveByCopyResult::Failed;
    const MoveByCopyResult result = copy.Publish();
    if (result != MoveByCopyResult::Done)
        return result;
    Removal removal{false, false};
    if (BringNamesToDisk(move.to.folder.Get()))
        removal = RemoveCopiedContents(source.Get(), copy.Get(), copied);
    const bool isRemoved = removal.isWhole && RemoveFolderIfSame(from, status);
    if (isRemoved || removal.hasBegun || !move.IsToBeTakenBack(status))
        return MoveByCopyResult::Done;
    RemoveCopies(copy.Get(), copied);
    struct stat copyStatus;
    if (::fstat(copy.Get(), &copyStatus) == 0)
        RemoveFolderIfSame(move.to.At(), copyStatus);
    return MoveByCopyResult::Failed;
}

// A link or a FIFO. What can be copied in one step needs no name beside.
MoveByCopyResult MoveSpecial(const Move& move, const struct stat& status) {
    if (!CopySpecial(move.from.At(), status, move.to.At(), Existing::Refuse, Keep::ForMove))
        return ::GetLastError() == ERROR_FILE_EXISTS ? MoveByCopyResult::NameTaken : MoveByCopyResult::Failed;
    const bool isRemoved = BringNamesToDisk(move.to.folder.Get()) && RemoveCopiedSpecial(move.from.At(), move.to.At());
    if (isRemoved || !move.IsToBeTakenBack(status))
        return MoveByCopyResult::Done;
    RemoveCopiedSpecial(move.to.At(), move.from.At());
    return MoveByCopyResult::Failed;
}

// Tells before anything is copied that a name cannot be had: another entry has it, or no entry can, as it is too long.
std::optional<MoveByCopyResult> WhyNotFree(Entry entry) {
    struct stat status;
    if (::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0)
        return MoveByCopyResult::NameTaken;
    if (errno == ENOENT)
        return std::nullopt;
    FailFromErrno();
    return MoveByCopyResult::Failed;
}

// What cannot leave its folder need not be copied.
bool MayLoseEntries(int folder) {
    return ::faccessat(folder, ".", W_OK, AT_EACCESS) == 0 || (errno != EACCES && errno != EROFS) || FailFromErrno();
}

} // namespace

MoveByCopyResult MoveByCopy(const std::string& source, const std::string& destination,
                            CopyOfWhatStays copyOfWhatStays) {
    Move move{{}, {}, copyOfWhatStays};
    struct stat status;
    if (!move.from.Open(source, O_PATH) || !move.to.Open(destination, O_RDONLY))
        return MoveByCopyResult::Failed;
    if (const std::optional<MoveByCopyResult> result = WhyNotFree(move.to.At()))
        return *result;
    if (::fstatat(move.from.folder.Get(), move.from.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return MoveByCopyResult::Failed;
    if (copyOfWhatStays == CopyOfWhatStays::TakeBack && !MayLoseEntries(move.from.folder.Get()))
        return MoveByCopyResult::Failed;
    if (S_ISDIR(status.st_mode))
        return MoveFolder(move, destination);
    return S_ISREG(status.st_mode) ? MoveFile(move) : MoveSpecial(move, status);
}

} // namespace Vellox::Posix
