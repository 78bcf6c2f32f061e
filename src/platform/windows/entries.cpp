#include "platform/windows/entries.h"

#include <algorithm>

namespace Vellox::Windows {
namespace {

// Behind this prefix the system takes paths of more than MAX_PATH units, if they are full.
Text WithoutLimit(const Text& fullPath) {
    if (fullPath.starts_with(L"\\\\?\\") || fullPath.starts_with(L"\\\\.\\"))
        return fullPath;
    return fullPath.starts_with(L"\\\\") ? L"\\\\?\\UNC" + fullPath.substr(1) : L"\\\\?\\" + fullPath;
}

Entry MakeEntry(const WCHAR* name, DWORD attributes, DWORD sizeHigh, DWORD sizeLow) {
    const DWORD kind = attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    const ULONGLONG size = (static_cast<ULONGLONG>(sizeHigh) << 32) | sizeLow;
    return {name, kind, kind == 0 ? size : 0};
}

Text FinalPath(HANDLE item) {
    constexpr DWORD longestPath = 32768;
    Text path(longestPath, L'\0');
    path.resize(::GetFinalPathNameByHandleW(item, path.data(), longestPath, FILE_NAME_NORMALIZED));
    return path;
}

} // namespace

Text FullPath(const WCHAR* path) {
    Text full(MAX_PATH, L'\0');
    DWORD length = ::GetFullPathNameW(path, MAX_PATH, full.data(), nullptr);
    if (length >= MAX_PATH) {
        full.resize(length);
        length = ::GetFullPathNameW(path, length, full.data(), nullptr);
    }
    full.resize(length);
    constexpr std::size_t rootLength = 3;
    while (full.size() > rootLength && full.back() == L'\\')
        full.pop_back();
    return full;
}

Text FolderOf(const Text& path) {
    const std::size_t separator = path.find_last_of(L'\\');
    return separator == Text::npos ? Text() : path.substr(0, separator);
}

FileHandle Open(const Text& path, DWORD access, DWORD shareMode, DWORD flags) {
    return FileHandle(::CreateFileW(path.c_str(), access, shareMode, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
}

std::optional<Identity> IdentityOf(HANDLE item) {
    BY_HANDLE_FILE_INFORMATION information;
    if (::GetFileInformationByHandle(item, &information) == FALSE)
        return std::nullopt;
    return Identity{information.dwVolumeSerialNumber, information.nFileIndexHigh, information.nFileIndexLow};
}

std::optional<Identity> IdentityAt(const Text& path) {
    const FileHandle item = Open(path);
    return item ? IdentityOf(item.Get()) : std::nullopt;
}

// With a separator at its end a path leads to folders only, and to the root of a drive.
Text FinalFolder(const Text& fullPath) {
    for (Text level = fullPath; !level.empty(); level = FolderOf(level))
        if (const FileHandle folder = Open(level + L'\\'))
            return FinalPath(folder.Get());
    return {};
}

bool IsOneOfTheLevels(const Text& fullPath, const Identity& entry) {
    for (Text level = fullPath; !level.empty(); level = FolderOf(level))
        if (IdentityAt(level + L'\\') == entry)
            return true;
    return false;
}

// A link below the folder can lead the path elsewhere; without the folder, the path would still be gone.
bool LiesInFolder(const Text& fullPath, const Text& folder) {
    const std::optional<Identity> entry = IdentityAt(folder);
    return entry && (IsOneOfTheLevels(fullPath, *entry) || IsOneOfTheLevels(FinalFolder(fullPath), *entry));
}

std::optional<Entry> ReadEntry(const Text& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) == FALSE)
        return std::nullopt;
    return MakeEntry(L"", data.dwFileAttributes, data.nFileSizeHigh, data.nFileSizeLow);
}

// The root of an empty volume does not even list itself.
bool ReadEntries(const Text& folder, std::vector<Entry>& entries) {
    WIN32_FIND_DATAW match;
    const SearchHandle search(::FindFirstFileW((WithoutLimit(folder) + L"\\*").c_str(), &match));
    if (!search)
        return ::GetLastError() == ERROR_FILE_NOT_FOUND;
    do {
        const Text name = match.cFileName;
        if (name != L"." && name != L"..")
            entries.push_back(
                MakeEntry(match.cFileName, match.dwFileAttributes, match.nFileSizeHigh, match.nFileSizeLow));
    } while (::FindNextFileW(search.Get(), &match) != FALSE);
    const bool isWhole = ::GetLastError() == ERROR_NO_MORE_FILES;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& one, const Entry& other) { return one.name < other.name; });
    return isWhole;
}

} // namespace Vellox::Windows
