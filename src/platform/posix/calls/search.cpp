#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "platform/ascii.h"
#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/base/utf.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;
using Vellox::FoldCase;

namespace {

struct Search {
    Folder folder; // null when a name without wildcards was looked up
    std::string pattern;
    bool isTail = false; // a `*` and no other wildcard behind it
};

std::size_t CharacterEnd(std::string_view name, std::size_t position) {
    do
        ++position;
    while (position < name.size() && IsContinuationByte(name[position]));
    return position;
}

// On a mismatch the last `*` takes one more character, so the work is bounded by the product of the lengths.
bool MatchesWildcards(std::string_view name, std::string_view pattern) {
    std::size_t position = 0;
    std::size_t wanted = 0;
    std::size_t lastStar = std::string_view::npos;
    std::size_t starEnd = 0;
    while (position < name.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '*') {
            lastStar = wanted++;
            starEnd = position;
        } else if (wanted < pattern.size() && pattern[wanted] == '?') {
            position = CharacterEnd(name, position);
            ++wanted;
        } else if (wanted < pattern.size() && FoldCase(pattern[wanted]) == FoldCase(name[position])) {
            ++position;
            ++wanted;
        } else if (lastStar != std::string_view::npos) {
            starEnd = CharacterEnd(name, starEnd);
            position = starEnd;
            wanted = lastStar + 1;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', wanted) == std::string_view::npos;
}

bool EndsIn(std::string_view name, std::string_view tail) {
    return name.size() >= tail.size() &&
           std::equal(tail.begin(), tail.end(), name.end() - static_cast<std::ptrdiff_t>(tail.size()),
                      [](char one, char other) { return FoldCase(one) == FoldCase(other); });
}

bool Matches(std::string_view name, const Search& search) {
    const std::string_view pattern = search.pattern;
    if (search.isTail)
        return EndsIn(name, pattern.substr(1));
    return pattern == "*.*" || MatchesWildcards(name, pattern);
}

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

void FillMatch(WIN32_FIND_DATAW& match, DWORD attributes, std::string_view name) {
    match.dwFileAttributes = attributes;
    const std::size_t length = DecodeUtf8(name.data(), name.size(), match.cFileName, MAX_PATH - 1);
    match.cFileName[length == doesNotFit ? 0 : length] = 0;
}

bool DeliverNext(const Search& search, WIN32_FIND_DATAW& match) {
    if (!search.folder)
        return Fail(ERROR_NO_MORE_FILES);
    const int folder = ::dirfd(search.folder.Get());
    errno = 0;
    while (const dirent* entry = ::readdir(search.folder.Get())) {
        const std::string_view name = entry->d_name;
        if (!Matches(name, search))
            continue;
        FillMatch(match, AttributesOf(KindOf(folder, *entry), folder, entry->d_name), name);
        return true;
    }
    return errno == 0 ? Fail(ERROR_NO_MORE_FILES) : FailFromErrno();
}

bool StartSearch(std::string_view path, Search& search, WIN32_FIND_DATAW& match) {
    Place place;
    if (path.back() == '/' || !SplitLastComponent(path, place))
        return Fail(ERROR_FILE_NOT_FOUND);
    if (place.name.find_first_of("*?") == std::string::npos) {
        struct stat status;
        if (::fstatat(AT_FDCWD, path.data(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            return FailFromErrno();
        FillMatch(match, AttributesOf(status.st_mode, AT_FDCWD, path.data()), place.name);
        return true;
    }
    search.pattern = place.name;
    search.isTail = place.name.find_last_of("*?") == 0 && place.name[0] == '*';
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
    return StartSearch(path.View(), *search, *match) ? search.release() : INVALID_HANDLE_VALUE;
}

BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* match) {
    return static_cast<BOOL>(DeliverNext(*static_cast<const Search*>(search), *match));
}

BOOL FindClose(HANDLE search) {
    delete static_cast<Search*>(search);
    return TRUE;
}
