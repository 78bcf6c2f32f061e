#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/utf.h"
#include "platform/posix/calls/search_pattern.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

// Null and none when a single entry was looked up, which is no search that could go on.
struct Search {
    Folder folder;
    std::optional<SearchPattern> pattern;
};

DWORD AttributesOf(mode_t kind, int folder, const char* name) {
    if (S_ISDIR(kind))
        return FILE_ATTRIBUTE_DIRECTORY;
    if (!S_ISLNK(kind))
        return FILE_ATTRIBUTE_NORMAL;
    struct stat target;
    const bool leadsToFolder = ::fstatat(folder, name, &target, 0) == 0 && S_ISDIR(target.st_mode);
    return FILE_ATTRIBUTE_REPARSE_POINT | (leadsToFolder ? FILE_ATTRIBUTE_DIRECTORY : 0);
}

// The kind comes with the name on most file systems, and then nothing more is asked.
mode_t KindOf(int folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN)
        return static_cast<mode_t>(DTTOIF(entry.d_type));
    struct stat status;
    return ::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mode : mode_t{S_IFREG};
}

// A backslash in a name, as a badly made archive can leave it, would be a separator in a path that a host makes of it,
// and the path would lead elsewhere. With U+FFFD in its place the name leads nowhere.
void FillMatch(WIN32_FIND_DATAW& match, DWORD attributes, std::string_view name) {
    match.dwFileAttributes = attributes;
    std::size_t length = DecodeUtf8(name.data(), name.size(), match.cFileName, MAX_PATH - 1);
    if (length == doesNotFit)
        length = 0;
    match.cFileName[length] = 0;
    std::replace(match.cFileName, match.cFileName + length, u'\\', u'\uFFFD');
}

bool DeliverNext(Search& search, WIN32_FIND_DATAW& match) {
    if (!search.folder)
        return Fail(ERROR_NO_MORE_FILES);
    const int folder = ::dirfd(search.folder.Get());
    errno = 0;
    while (const dirent* entry = ::readdir(search.folder.Get())) {
        const std::string_view name = entry->d_name;
        if (!search.pattern->Matches(name))
            continue;
        FillMatch(match, AttributesOf(KindOf(folder, *entry), folder, entry->d_name), name);
        return true;
    }
    return errno == 0 ? Fail(ERROR_NO_MORE_FILES) : FailFromErrno();
}

// A folder that is named by dots alone is told by the name that it has above it; the root has none.
bool LookUpDots(const char* path, WIN32_FIND_DATAW& match) {
    char resolved[PATH_MAX];
    if (::realpath(path, resolved) == nullptr)
        return FailFromErrno();
    const std::string_view name = std::strrchr(resolved, '/') + 1;
    if (name.empty())
        return Fail(ERROR_FILE_NOT_FOUND);
    FillMatch(match, FILE_ATTRIBUTE_DIRECTORY, name);
    return true;
}

bool LookUpName(const char* path, std::string_view name, WIN32_FIND_DATAW& match) {
    struct stat status;
    if (::lstat(path, &status) != 0)
        return FailFromErrno();
    FillMatch(match, AttributesOf(status.st_mode, AT_FDCWD, path), name);
    return true;
}

bool StartSearch(const PosixPath& path, Search& search, WIN32_FIND_DATAW& match) {
    if (path.View().back() == '/')
        return Fail(ERROR_FILE_NOT_FOUND);
    Place place;
    if (!SplitLastComponent(path.View(), place))
        return LookUpDots(path.Text(), match);
    if (!SearchPattern::HasWildcard(place.name))
        return LookUpName(path.Text(), place.name, match);
    search.pattern.emplace(place.name);
    search.folder = Folder(::opendir(place.folder.c_str()));
    if (!search.folder)
        return FailFromErrno();
    return DeliverNext(search, match) || (GetLastError() == ERROR_NO_MORE_FILES && Fail(ERROR_FILE_NOT_FOUND));
}

} // namespace

HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* match) {
    const PosixPath path(pattern);
    if (!path.IsValid())
        return INVALID_HANDLE_VALUE;
    auto search = std::make_unique<Search>();
    return StartSearch(path, *search, *match) ? search.release() : INVALID_HANDLE_VALUE;
}

BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* match) {
    return static_cast<BOOL>(DeliverNext(*static_cast<Search*>(search), *match));
}

BOOL FindClose(HANDLE search) {
    delete static_cast<Search*>(search);
    return TRUE;
}
