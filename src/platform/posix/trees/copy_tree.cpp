#include "platform/posix/trees/copy_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/trees/copy_file.h"
#include "platform/posix/trees/nesting.h"
#include "platform/posix/trees/walk.h"

namespace Vellox::Posix {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int fileFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

// An open file to copy, which nobody who uses this library keeps from being read.
struct SourceFile {
    Descriptor descriptor;
    struct stat status = {};

    bool Open(Entry entry, DWORD shareMode) {
        descriptor = OpenAt(entry.folder, entry.name, O_RDONLY | fileFlags);
        if (!descriptor || ::fstat(descriptor.Get(), &status) != 0)
            return FailFromErrno();
        if (!S_ISREG(status.st_mode))
            return Fail(ERROR_ACCESS_DENIED);
        return TakeSharingLocks(descriptor.Get(), GENERIC_READ, shareMode);
    }
};

// A file that someone uses without sharing is not replaced under his hands.
bool HoldEntry(Entry entry, const struct stat& status, Descriptor& held) {
    if (!S_ISREG(status.st_mode))
        return true;
    held = OpenAt(entry.folder, entry.name, O_RDONLY | fileFlags);
    if (!held)
        held = OpenAt(entry.folder, entry.name, O_WRONLY | fileFlags);
    return !held || TakeSharingLocks(held.Get(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
}

bool CopyFifo(Entry from, const struct stat& status, Entry to, Existing existing, Keep keep) {
    TemporaryEntry entry(to.folder);
    if (entry.Create([](int folder, const char* name) { return ::mkfifoat(folder, name, 0600); }) != 0)
        return FailFromErrno();
    const Descriptor source = OpenAt(from.folder, from.name, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    const Descriptor copy = OpenAt(to.folder, entry.Name(), O_RDONLY | fileFlags);
    if (source && copy)
        KeepAttributes({source.Get(), status}, copy.Get(), keep);
    return entry.Publish(to.name, existing);
}

bool CopyLink(Entry from, const struct stat& status, Entry to, Existing existing, Keep keep) {
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
    KeepLinkAttributes(status, {to.folder, entry.Name()}, keep);
    return entry.Publish(to.name, existing);
}

// A folder that is filled under a name of its own and takes its place when all is in it.
struct PreparedFolder {
    PreparedFolder(Descriptor folder, std::string wanted, int openingFlags, std::size_t atDepth)
        : place(std::move(folder)), entry(place.Get()), name(std::move(wanted)), flags(openingFlags), depth(atDepth) {}

    Descriptor place; // stays open, also when the way down has closed its own
    TemporaryEntry entry;
    std::string name;
    int flags; // to open what may have come there meanwhile
    std::size_t depth;
};

struct SourceFolder {
    Descriptor descriptor;
    struct stat status;

    bool Open(Entry entry, int flags) {
        descriptor = OpenAt(entry.folder, entry.name, folderFlags | flags);
        return (descriptor && ::fstat(descriptor.Get(), &status) == 0) || FailFromErrno();
    }
};

class TreeCopy {
public:
    // The copy is to stand in the place. No folder that is one of those left out is copied or copied into. With a list
    // for what was copied, the source goes on a move, and the first failure ends it.
    TreeCopy(int place, std::vector<Identity> leftOut, CopiedFiles* copied)
        : source_(AT_FDCWD, O_RDONLY), destination_(place, O_RDONLY), leftOut_(std::move(leftOut)), copied_(copied),
          keep_(copied != nullptr ? Keep::ForMove : Keep::ForCopy) {}

    // Copies what an open folder holds into one of that name in the place, made if it is missing.
    bool IntoNamed(SourceFolder source, const char* name) {
        leftOut_.push_back(IdentityOf(source.status));
        isWhole_ = EnterFolder(std::move(source), name, 0);
        return Run();
    }

    // The same into an open new folder, which is open elsewhere too for as long.
    bool IntoNew(SourceFolder source, Descriptor copy, int top) {
        top_ = top;
        isWhole_ = EnterBoth(std::move(source), std::move(copy), "", Standing::New);
        return Run();
    }

private:
    // A new folder is one that this copy has made, and that nobody knows by its name before all is in it.
    enum class Standing { New, Old };

    struct Level {
        std::string name;
        Names names;
        struct stat source;
        Standing standing;
    };

    bool Run() {
        while (!levels_.empty() && !isLost_ && (isWhole_ || copied_ == nullptr)) {
            Names::Name entry;
            const bool isDone = levels_.back().names.Next(entry) ? CopyEntry(entry) : LeaveFolder();
            isWhole_ = isDone && isWhole_;
        }
        return isWhole_;
    }

    Standing Here() const { return levels_.empty() ? Standing::Old : levels_.back().standing; }

    bool IsLeftOut(const struct stat& status) const {
        return std::find(leftOut_.begin(), leftOut_.end(), IdentityOf(status)) != leftOut_.end();
    }

    // The kind is the one that the listing told.
    bool CopyEntry(const Names::Name& entry) {
        const Entry from{source_.Folder(), entry.text};
        const Entry to{destination_.Folder(), entry.text};
        if (entry.kind == DT_DIR)
            return CopySubfolder(from);
        if (entry.kind == DT_REG && Here() == Standing::New)
            return CopyFile(from, to, Existing::Impossible);
        struct stat status;
        if (::fstatat(from.folder, from.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            return FailFromErrno();
        if (S_ISDIR(status.st_mode))
            return CopySubfolder(from);
        if (copied_ != nullptr && !S_ISREG(status.st_mode))
            return CopySpecialForMove(from, status, to);
        return Here() == Standing::New ? CopyAnyButFolder(from, status, to, Existing::Impossible)
                                       : CopyOverExisting(from, status, to);
    }

    bool CopySubfolder(Entry from) {
        SourceFolder source;
        if (!source.Open(from, O_NOFOLLOW))
            return false;
        return IsLeftOut(source.status) ? Fail(ERROR_SHARING_VIOLATION)
                                        : EnterFolder(std::move(source), from.name, O_NOFOLLOW);
    }

    // The flags are for the opening of what stands at the destination.
    bool EnterFolder(SourceFolder source, std::string name, int flags) {
        if (Here() == Standing::New) {
            if (::mkdirat(destination_.Folder(), name.c_str(), 0700) != 0)
                return FailWritingFromErrno();
            Descriptor made = OpenAt(destination_.Folder(), name.c_str(), folderFlags | O_NOFOLLOW);
            return made ? EnterBoth(std::move(source), std::move(made), std::move(name), Standing::New)
                        : FailFromErrno();
        }
        Descriptor existing = OpenAt(destination_.Folder(), name.c_str(), folderFlags | flags);
        if (!existing)
            return errno == ENOENT ? PrepareFolder(std::move(source), std::move(name), flags) : FailFromErrno();
        return EnterExisting(std::move(source), std::move(existing), std::move(name));
    }

    bool EnterExisting(SourceFolder source, Descriptor existing, std::string name) {
        struct stat status;
        if (::fstat(existing.Get(), &status) != 0)
            return FailFromErrno();
        // leftOut_ holds the destination as well, which is only a way into itself for a source.
        if (!levels_.empty() && IsLeftOut(status))
            return Fail(ERROR_SHARING_VIOLATION);
        return EnterBoth(std::move(source), std::move(existing), std::move(name), Standing::Old);
    }

    bool PrepareFolder(SourceFolder source, std::string name, int flags) {
        Descriptor place(::fcntl(destination_.Folder(), F_DUPFD_CLOEXEC, 0));
        if (!place)
            return FailFromErrno();
        prepared_.emplace(std::move(place), std::move(name), flags, levels_.size());
        Descriptor made = MakePreparedFolder();
        if (made)
            return EnterBoth(std::move(source), std::move(made), prepared_->name, Standing::New);
        prepared_.reset();
        return false;
    }

    Descriptor MakePreparedFolder() {
        TemporaryEntry& entry = prepared_->entry;
        if (entry.Create([](int folder, const char* free) { return ::mkdirat(folder, free, 0700); }) != 0) {
            FailWritingFromErrno();
            return {};
        }
        Descriptor made = OpenAt(entry.Folder(), entry.Name(), folderFlags | O_NOFOLLOW);
        if (!made)
            FailFromErrno();
        return made;
    }

    bool EnterBoth(SourceFolder source, Descriptor copy, std::string name, Standing standing) {
        Level level{std::move(name), {}, source.status, standing};
        const bool isListed = level.names.Read(source.descriptor.Get()) || FailFromErrno();
        isLost_ = !source_.GoDown(std::move(source.descriptor)) || !destination_.GoDown(std::move(copy));
        if (isLost_)
            return FailFromErrno();
        levels_.push_back(std::move(level));
        return isListed;
    }

    bool LeaveFolder() {
        Level level = std::move(levels_.back());
        levels_.pop_back();
        SourceFolder source{{}, level.source};
        Descriptor copy;
        isLost_ = !source_.GoUp(source.descriptor) || !destination_.GoUp(copy);
        if (isLost_)
            return FailFromErrno();
        if (level.standing == Standing::New)
            KeepAttributes({source.descriptor.Get(), level.source}, copy.Get(), keep_);
        return !prepared_ || prepared_->depth != levels_.size() || PublishFolder(std::move(source));
    }

    // If someone else has made a folder of that name meanwhile, all is copied once more, into that one.
    bool PublishFolder(SourceFolder source) {
        const bool isPublished = prepared_->entry.Publish(prepared_->name.c_str(), Existing::Refuse);
        const DWORD error = ::GetLastError();
        const std::string name = std::move(prepared_->name);
        const int flags = prepared_->flags;
        prepared_.reset();
        if (isPublished)
            return true;
        Descriptor existing;
        if (error == ERROR_FILE_EXISTS)
            existing = OpenAt(destination_.Folder(), name.c_str(), folderFlags | flags);
        if (!existing || ::lseek(source.descriptor.Get(), 0, SEEK_SET) != 0)
            return Fail(error);
        return EnterExisting(std::move(source), std::move(existing), name);
    }

    bool CopyFile(Entry from, Entry to, Existing existing) {
        SourceFile source;
        if (!source.Open(from, copied_ != nullptr ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE))
            return false;
        const OpenEntry file{source.descriptor.Get(), source.status};
        return copied_ == nullptr ? CopyRegularFile(file, to, existing, keep_) : CopyFileForMove(file, to);
    }

    bool CopyFileForMove(const OpenEntry& source, Entry to) {
        const bool hasLinks = source.status.st_nlink > 1;
        if (hasLinks && LinkToCopy(source.status, to))
            return true;
        const Descriptor copy = OpenAt(to.folder, to.name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (!copy)
            return FailWritingFromErrno();
        CopiedFile copied;
        if (!CopyForMove(source, copy.Get(), copied))
            return false;
        copied_->Add(copied);
        if (hasLinks)
            firstNames_[copied.source.identity] = PathBelowTop(to.name);
        return true;
    }

    bool CopySpecialForMove(Entry from, const struct stat& status, Entry to) {
        struct stat copy;
        if (!CopySpecial(from, status, to, Existing::Impossible, keep_))
            return false;
        if (::fstatat(to.folder, to.name, &copy, AT_SYMLINK_NOFOLLOW) != 0)
            return FailFromErrno();
        copied_->Add({StateOf(status), StateOf(copy), true});
        return true;
    }

    // False where the file has no copy yet, or where the copy can get no second name.
    bool LinkToCopy(const struct stat& source, Entry to) {
        const auto first = firstNames_.find(IdentityOf(source));
        return first != firstNames_.end() && ::linkat(top_, first->second.c_str(), to.folder, to.name, 0) == 0;
    }

    std::string PathBelowTop(const char* name) const {
        std::string path;
        for (std::size_t index = 1; index < levels_.size(); ++index)
            path.append(levels_[index].name).push_back('/');
        return path + name;
    }

    bool CopyAnyButFolder(Entry from, const struct stat& status, Entry to, Existing existing) {
        return S_ISREG(status.st_mode) ? CopyFile(from, to, existing) : CopySpecial(from, status, to, existing, keep_);
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

    WayDown source_;
    WayDown destination_;
    std::vector<Identity> leftOut_;
    CopiedFiles* copied_;
    Keep keep_;
    std::vector<Level> levels_;
    std::optional<PreparedFolder> prepared_; // at most one, as all below it is new
    int top_ = -1;
    std::unordered_map<Identity, std::string, HashOfIdentity> firstNames_; // of copies of files with several names
    bool isWhole_ = true;
    bool isLost_ = false; // there is no way on from here
};

// Opens the folder at the path, and makes what is missing of the way there.
Descriptor MakeFolders(const std::string& path) {
    std::vector<std::string> missing;
    Descriptor folder = OpenPlace(path.c_str());
    Place place;
    for (std::string level = path; !folder && errno == ENOENT && SplitLastComponent(level, place);
         level = place.folder) {
        missing.push_back(place.name);
        folder = OpenPlace(place.folder.c_str());
    }
    for (; folder && !missing.empty(); missing.pop_back()) {
        if (::mkdirat(folder.Get(), missing.back().c_str(), 0777) != 0 && errno != EEXIST)
            return {};
        folder = OpenPlaceAt(folder.Get(), missing.back().c_str(), Links::Follow);
    }
    return folder;
}

} // namespace

bool CopySpecial(Entry from, const struct stat& status, Entry to, Existing existing, Keep keep) {
    if (S_ISLNK(status.st_mode))
        return CopyLink(from, status, to, existing, keep);
    if (S_ISFIFO(status.st_mode))
        return CopyFifo(from, status, to, existing, keep);
    return Fail(ERROR_NOT_SUPPORTED);
}

bool CopyTreeContents(const std::string& source, const std::string& destination) {
    SourceFolder from;
    if (!from.Open({AT_FDCWD, source.c_str()}, 0))
        return false;
    if (LiesInFolder(destination, from.descriptor.Get()))
        return Fail(ERROR_SHARING_VIOLATION);
    std::vector<Identity> around = FoldersAround(destination);
    Place place;
    if (!SplitLastComponent(destination, place)) // "." or the root, which are there
        return TreeCopy(AT_FDCWD, std::move(around), nullptr).IntoNamed(std::move(from), destination.c_str());
    const Descriptor parent = MakeFolders(place.folder);
    return parent ? TreeCopy(parent.Get(), std::move(around), nullptr).IntoNamed(std::move(from), place.name.c_str())
                  : FailFromErrno();
}

bool CopyTreeForMove(int source, int copy, CopiedFiles& copied) {
    SourceFolder from;
    if (!from.Open({source, "."}, 0))
        return false;
    Descriptor to = OpenAt(copy, ".", folderFlags);
    if (!to)
        return FailFromErrno();
    return TreeCopy(AT_FDCWD, FoldersUpFrom(copy), &copied).IntoNew(std::move(from), std::move(to), copy);
}

} // namespace Vellox::Posix
