#include "platform/posix/trees/compare.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/sharing.h"
#include "platform/posix/base/transfer.h"
#include "platform/posix/trees/delete.h"

namespace Vellox::Posix {
namespace {

constexpr std::size_t comparedSize = std::size_t{32} * 1024;

bool ReadNames(Entry entry, Descriptor& opened, std::vector<std::string>& names) {
    opened = OpenAt(entry.folder, entry.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    Descriptor listed(opened ? ::fcntl(opened.Get(), F_DUPFD_CLOEXEC, 0) : -1);
    const Folder listing(listed ? ::fdopendir(listed.Get()) : nullptr);
    if (!listing)
        return false;
    listed.Release();
    errno = 0;
    while (const dirent* found = ::readdir(listing.Get()))
        if (!IsDotName(found->d_name))
            names.emplace_back(found->d_name);
    const bool isWhole = errno == 0;
    std::sort(names.begin(), names.end());
    return isWhole;
}

bool HoldSameLink(Entry first, Entry second) {
    char firstTarget[PATH_MAX];
    char secondTarget[PATH_MAX];
    const ssize_t firstLength = ::readlinkat(first.folder, first.name, firstTarget, sizeof firstTarget);
    const ssize_t secondLength = ::readlinkat(second.folder, second.name, secondTarget, sizeof secondTarget);
    return firstLength >= 0 && firstLength == secondLength &&
           std::equal(firstTarget, firstTarget + firstLength, secondTarget);
}

Descriptor OpenToRead(Entry entry) {
    return OpenAt(entry.folder, entry.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

bool HoldSameBytes(Entry first, Entry second) {
    const Descriptor firstFile = OpenToRead(first);
    const Descriptor secondFile = OpenToRead(second);
    if (!firstFile || !secondFile)
        return false;
    char firstBytes[comparedSize];
    char secondBytes[comparedSize];
    while (true) {
        std::size_t firstCount = 0;
        std::size_t secondCount = 0;
        if (!ReadAll(firstFile.Get(), firstBytes, comparedSize, firstCount) ||
            !ReadAll(secondFile.Get(), secondBytes, comparedSize, secondCount) ||
            !std::equal(firstBytes, firstBytes + firstCount, secondBytes, secondBytes + secondCount))
            return false;
        if (firstCount == 0)
            return true;
    }
}

bool IsSameTime(const struct timespec& first, const struct timespec& second) {
    return first.tv_sec == second.tv_sec && first.tv_nsec == second.tv_nsec;
}

// What is still written is not yet what was copied.
bool IsBeingWritten(Entry entry) {
    const Descriptor file = OpenToRead(entry);
    return file && Posix::IsBeingWritten(file.Get());
}

bool HoldSame(Entry first, Entry second, int depth);

bool HoldSameFolder(Entry first, Entry second, int depth) {
    Descriptor firstFolder;
    Descriptor secondFolder;
    std::vector<std::string> firstNames;
    std::vector<std::string> secondNames;
    if (depth > deepestTree || !ReadNames(first, firstFolder, firstNames) ||
        !ReadNames(second, secondFolder, secondNames) || firstNames != secondNames)
        return false;
    return std::all_of(firstNames.begin(), firstNames.end(), [&](const std::string& name) {
        return HoldSame({firstFolder.Get(), name.c_str()}, {secondFolder.Get(), name.c_str()}, depth + 1);
    });
}

bool HoldSame(Entry first, Entry second, int depth) {
    struct stat firstStatus;
    struct stat secondStatus;
    if (::fstatat(first.folder, first.name, &firstStatus, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstatat(second.folder, second.name, &secondStatus, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (S_ISDIR(firstStatus.st_mode) && S_ISDIR(secondStatus.st_mode))
        return HoldSameFolder(first, second, depth);
    return HoldSameData(first, firstStatus, second, secondStatus) &&
           !(S_ISREG(firstStatus.st_mode) && IsBeingWritten(first));
}

} // namespace

bool HoldSameData(Entry first, const struct stat& firstStatus, Entry second, const struct stat& secondStatus) {
    if ((firstStatus.st_mode & S_IFMT) != (secondStatus.st_mode & S_IFMT))
        return false;
    if (S_ISLNK(firstStatus.st_mode))
        return HoldSameLink(first, second);
    if (!S_ISREG(firstStatus.st_mode))
        return S_ISFIFO(firstStatus.st_mode);
    return firstStatus.st_size == secondStatus.st_size &&
           (IsSameTime(firstStatus.st_mtim, secondStatus.st_mtim) || HoldSameBytes(first, second));
}

bool HoldSameTree(Entry first, Entry second) {
    return HoldSame(first, second, 0);
}

} // namespace Vellox::Posix
