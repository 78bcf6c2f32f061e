#include "platform/posix/trees/compare.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/trees/walk.h"

namespace Vellox::Posix {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

Descriptor OpenToRead(Entry entry) {
    return OpenAt(entry.folder, entry.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

bool IsOfOneKind(const struct stat& one, const struct stat& other) {
    return (one.st_mode & S_IFMT) == (other.st_mode & S_IFMT);
}

bool HoldSameFile(Entry source, Entry copy) {
    const Descriptor file = OpenToRead(source);
    const Descriptor copyFile = OpenToRead(copy);
    struct stat status;
    struct stat copyStatus;
    return file && copyFile && ::fstat(file.Get(), &status) == 0 && ::fstat(copyFile.Get(), &copyStatus) == 0 &&
           S_ISREG(status.st_mode) && S_ISREG(copyStatus.st_mode) && status.st_size == copyStatus.st_size &&
           HoldSameBytes(file.Get(), copyFile.Get(), status.st_size);
}

class Comparison {
public:
    explicit Comparison(const CopiedFiles& copied)
        : source_(AT_FDCWD, O_RDONLY), copy_(AT_FDCWD, O_RDONLY), copied_(copied) {}

    bool Run(int source, int copy) {
        bool isSame = EnterFolders({source, "."}, {copy, "."});
        while (isSame && !levels_.empty()) {
            Names::Name entry;
            isSame = levels_.back().Next(entry) ? HoldSame(entry) : LeaveFolders();
        }
        return isSame;
    }

private:
    bool EnterFolders(Entry source, Entry copy) {
        Descriptor folder = OpenAt(source.folder, source.name, folderFlags);
        Descriptor copyFolder = OpenAt(copy.folder, copy.name, folderFlags);
        Names names;
        Names copyNames;
        const bool holdAsMany = folder && copyFolder && names.Read(folder.Get()) && copyNames.Read(copyFolder.Get()) &&
                                names.Count() == copyNames.Count();
        if (!holdAsMany || !source_.GoDown(std::move(folder)) || !copy_.GoDown(std::move(copyFolder)))
            return false;
        levels_.push_back(std::move(names));
        return true;
    }

    bool LeaveFolders() {
        Descriptor left;
        levels_.pop_back();
        return source_.GoUp(left) && copy_.GoUp(left);
    }

    bool HoldSame(const Names::Name& entry) {
        const Entry source{source_.Folder(), entry.text};
        const Entry copy{copy_.Folder(), entry.text};
        struct stat status;
        struct stat copyStatus;
        if (entry.kind == DT_DIR)
            return EnterFolders(source, copy);
        if (::fstatat(source.folder, source.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            return false;
        if (S_ISDIR(status.st_mode))
            return EnterFolders(source, copy);
        const CopiedFile* copied = copied_.Find(status);
        if (copied != nullptr && IsInState(status, copied->source))
            return true;
        if (S_ISREG(status.st_mode))
            return HoldSameFile(source, copy);
        return ::fstatat(copy.folder, copy.name, &copyStatus, AT_SYMLINK_NOFOLLOW) == 0 &&
               IsOfOneKind(status, copyStatus) && (!S_ISLNK(status.st_mode) || HoldSameTarget(source, copy));
    }

    WayDown source_;
    WayDown copy_;
    const CopiedFiles& copied_;
    std::vector<Names> levels_;
};

} // namespace

bool HoldSameTree(int source, int copy, const CopiedFiles& copied) {
    return Comparison(copied).Run(source, copy);
}

} // namespace Vellox::Posix
