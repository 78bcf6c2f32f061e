#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/identity.h"
#include "platform/posix/paths.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

namespace Vellox::Posix {
namespace {

bool ReadNames(int folder, const char* name, Descriptor& opened, std::vector<std::string>& names) {
    opened = Descriptor(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    Descriptor listed(opened ? ::fcntl(opened.Get(), F_DUPFD_CLOEXEC, 0) : -1);
    const Folder listing(listed ? ::fdopendir(listed.Get()) : nullptr);
    if (listing == nullptr)
        return false;
    listed.Release();
    errno = 0;
    while (const dirent* entry = ::readdir(listing.get()))
        if (!IsDotName(entry->d_name))
            names.emplace_back(entry->d_name);
    std::sort(names.begin(), names.end());
    return errno == 0;
}

bool HoldSameLink(int first, int second, const char* firstName, const char* secondName) {
    char firstTarget[PATH_MAX];
    char secondTarget[PATH_MAX];
    const ssize_t firstLength = ::readlinkat(first, firstName, firstTarget, sizeof firstTarget);
    const ssize_t secondLength = ::readlinkat(second, secondName, secondTarget, sizeof secondTarget);
    return firstLength >= 0 && firstLength == secondLength &&
           std::equal(firstTarget, firstTarget + firstLength, secondTarget);
}

bool HoldSame(int first, const char* firstName, int second, const char* secondName, int depth);

bool HoldSameFolder(int first, const char* firstName, int second, const char* secondName, int depth) {
    Descriptor firstFolder;
    Descriptor secondFolder;
    std::vector<std::string> firstNames;
    std::vector<std::string> secondNames;
    if (depth > deepestTree || !ReadNames(first, firstName, firstFolder, firstNames) ||
        !ReadNames(second, secondName, secondFolder, secondNames) || firstNames != secondNames)
        return false;
    return std::all_of(firstNames.begin(), firstNames.end(), [&](const std::string& name) {
        return HoldSame(firstFolder.Get(), name.c_str(), secondFolder.Get(), name.c_str(), depth + 1);
    });
}

bool HoldSame(int first, const char* firstName, int second, const char* secondName, int depth) {
    struct stat firstStatus;
    struct stat secondStatus;
    if (::fstatat(first, firstName, &firstStatus, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstatat(second, secondName, &secondStatus, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if ((firstStatus.st_mode & S_IFMT) != (secondStatus.st_mode & S_IFMT))
        return false;
    if (S_ISDIR(firstStatus.st_mode))
        return HoldSameFolder(first, firstName, second, secondName, depth);
    if (S_ISLNK(firstStatus.st_mode))
        return HoldSameLink(first, second, firstName, secondName);
    return !S_ISREG(firstStatus.st_mode) || firstStatus.st_size == secondStatus.st_size;
}

} // namespace
} // namespace Vellox::Posix

bool Vellox::Platform::HoldSameTree(const WCHAR* first, const WCHAR* second) {
    const Posix::PosixPath firstPlace(first);
    const Posix::PosixPath secondPlace(second);
    return firstPlace.IsValid() && secondPlace.IsValid() &&
           Posix::HoldSame(AT_FDCWD, firstPlace.Text(), AT_FDCWD, secondPlace.Text(), 0);
}
