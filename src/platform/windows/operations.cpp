#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/guard.h"
#include "platform/operations.h"

namespace Vellox::Platform {
namespace {

using Text = std::wstring;

// ---- The shell operation ----

// The text in full, so that neither the current directory nor a forward slash means something else to the shell. Empty
// if the system refuses it.
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

// The shell overruns its own buffers with longer paths.
bool ShellTakes(const Text& path) {
    return !path.empty() && path.size() < MAX_PATH;
}

// The folder that the process stands in is held by the system, and so is a root; their contents are not to go either.
bool IsRootOrHoldsCurrentFolder(const Text& path) {
    const Text current = FullPath(L".");
    const bool isAbove = current.size() >= path.size() &&
                         ::CompareStringOrdinal(current.data(), static_cast<int>(path.size()), path.data(),
                                                static_cast<int>(path.size()), TRUE) == CSTR_EQUAL;
    return path.back() == L'\\' || (isAbove && (current.size() == path.size() || current[path.size()] == L'\\'));
}

// A deletion is meant literally, and no name holds a wildcard.
bool MayBeDeleted(const Text& path) {
    return path.find_first_of(L"*?") == Text::npos && !IsRootOrHoldsCurrentFolder(path);
}

// ---- Entries ----

class File {
public:
    static constexpr DWORD shareReadersOnly = FILE_SHARE_READ | FILE_SHARE_DELETE;
    static constexpr DWORD shareAll = shareReadersOnly | FILE_SHARE_WRITE;

    explicit File(const WCHAR* path, DWORD access = FILE_READ_ATTRIBUTES, DWORD shareMode = shareAll, DWORD flags = 0)
        : handle_(::CreateFileW(path, access, shareMode, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags,
                                nullptr)) {}

    bool IsOpen() const { return static_cast<bool>(handle_); }
    HANDLE Get() const { return handle_.Get(); }

private:
    FileHandle handle_;
};

bool IsSameEntry(const BY_HANDLE_FILE_INFORMATION& first, const BY_HANDLE_FILE_INFORMATION& second) {
    return first.dwVolumeSerialNumber == second.dwVolumeSerialNumber && first.nFileIndexHigh == second.nFileIndexHigh &&
           first.nFileIndexLow == second.nFileIndexLow;
}

bool IsSameItem(const File& first, HANDLE second) {
    BY_HANDLE_FILE_INFORMATION one = {};
    BY_HANDLE_FILE_INFORMATION other = {};
    return first.IsOpen() && ::GetFileInformationByHandle(first.Get(), &one) != FALSE &&
           ::GetFileInformationByHandle(second, &other) != FALSE && IsSameEntry(one, other);
}

bool ReadIdentity(const Text& path, BY_HANDLE_FILE_INFORMATION& identity) {
    const File file(path.c_str());
    return file.IsOpen() && ::GetFileInformationByHandle(file.Get(), &identity) != FALSE;
}

Text FolderOf(const Text& path) {
    const std::size_t separator = path.find_last_of(L'\\');
    return separator == Text::npos ? Text() : path.substr(0, separator);
}

// Where the folder really is, whatever links lead there.
Text FinalPath(const Text& folder) {
    const File file(folder.c_str());
    constexpr DWORD longestPath = 32768;
    Text path(longestPath, L'\0');
    path.resize(file.IsOpen() ? ::GetFinalPathNameByHandleW(file.Get(), path.data(), longestPath, FILE_NAME_NORMALIZED)
                              : 0);
    return path;
}

bool IsOneOfTheLevels(const Text& path, const BY_HANDLE_FILE_INFORMATION& wanted) {
    for (Text level = path; !level.empty(); level = FolderOf(level)) {
        BY_HANDLE_FILE_INFORMATION identity;
        if (ReadIdentity(level + L'\\', identity) && IsSameEntry(identity, wanted))
            return true;
    }
    return false;
}

struct Entry {
    Text name;
    DWORD kind;
    ULONGLONG size;

    bool operator==(const Entry&) const = default;
};

Entry MakeEntry(const Text& name, DWORD attributes, DWORD sizeHigh, DWORD sizeLow) {
    const DWORD kind = attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    const ULONGLONG size = (static_cast<ULONGLONG>(sizeHigh) << 32) | sizeLow;
    return {name, kind, kind == 0 ? size : 0};
}

// Not a link to one, which the shell takes as a link.
bool IsFolder(const Text& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == FILE_ATTRIBUTE_DIRECTORY;
}

bool ReadEntries(const Text& folder, std::vector<Entry>& entries) {
    WIN32_FIND_DATAW match;
    const SearchHandle search(::FindFirstFileW((folder + L"\\*").c_str(), &match));
    if (!search)
        return false;
    do {
        const Text name = match.cFileName;
        if (name != L"." && name != L"..")
            entries.push_back(MakeEntry(name, match.dwFileAttributes, match.nFileSizeHigh, match.nFileSizeLow));
    } while (::FindNextFileW(search.Get(), &match) != FALSE);
    const bool isWhole = ::GetLastError() == ERROR_NO_MORE_FILES;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& one, const Entry& other) { return one.name < other.name; });
    return isWhole;
}

// The shell makes nothing out of an empty folder.
bool IsEmptyFolder(const Text& path) {
    std::vector<Entry> entries;
    return IsFolder(path) && ReadEntries(path, entries) && entries.empty();
}

int MakeFolder(const Text& path) {
    const bool isThere = IsFolder(path) || ::CreateDirectoryW(path.c_str(), nullptr) != FALSE;
    return isThere ? ERROR_SUCCESS : static_cast<int>(::GetLastError());
}

bool HoldSameBytes(HANDLE first, HANDLE second) {
    constexpr DWORD pieceSize = 64 * 1024;
    std::vector<char> firstBytes(pieceSize);
    std::vector<char> secondBytes(pieceSize);
    while (true) {
        DWORD firstCount = 0;
        DWORD secondCount = 0;
        if (::ReadFile(first, firstBytes.data(), pieceSize, &firstCount, nullptr) == FALSE ||
            ::ReadFile(second, secondBytes.data(), pieceSize, &secondCount, nullptr) == FALSE ||
            firstCount != secondCount ||
            !std::equal(firstBytes.begin(), firstBytes.begin() + firstCount, secondBytes.begin()))
            return false;
        if (firstCount == 0)
            return true;
    }
}

// Files of one size and one time count as the same; where the times differ, as not every file system can keep them, the
// bytes decide.
bool HoldSameData(const File& first, const File& second) {
    BY_HANDLE_FILE_INFORMATION one;
    BY_HANDLE_FILE_INFORMATION other;
    if (!first.IsOpen() || !second.IsOpen() || ::GetFileInformationByHandle(first.Get(), &one) == FALSE ||
        ::GetFileInformationByHandle(second.Get(), &other) == FALSE)
        return false;
    const bool isSameSize = one.nFileSizeHigh == other.nFileSizeHigh && one.nFileSizeLow == other.nFileSizeLow;
    return isSameSize && (::CompareFileTime(&one.ftLastWriteTime, &other.ftLastWriteTime) == 0 ||
                          HoldSameBytes(first.Get(), second.Get()));
}

// A file that was copied, and its copy. Nobody can write to it while it is open here, and what is still written is not
// yet what was copied.
struct CopiedFile {
    CopiedFile(const Text& path, const Text& copyPath)
        : file(path.c_str(), GENERIC_READ, File::shareReadersOnly), copy(copyPath.c_str(), GENERIC_READ) {}
    bool IsFinished() const { return HoldSameData(file, copy); }

    File file;
    File copy;
};

// True if the shell takes all that the folder holds, here and where it is copied to.
bool ShellTakesContents(const Text& folder, std::size_t copiedFolderSize) {
    std::vector<Entry> entries;
    if (!ReadEntries(folder, entries))
        return false;
    return std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        const std::size_t below = entry.name.size() + 1;
        const std::size_t longest = std::max(folder.size(), copiedFolderSize) + below;
        return longest < MAX_PATH && (entry.kind != FILE_ATTRIBUTE_DIRECTORY ||
                                      ShellTakesContents(folder + L'\\' + entry.name, copiedFolderSize + below));
    });
}

// Where a link leads is not compared, so one never counts as the same.
bool HoldSame(const Text& first, const Entry& firstEntry, const Text& second, const Entry& secondEntry) {
    if (firstEntry != secondEntry || (firstEntry.kind & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return false;
    if ((firstEntry.kind & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return CopiedFile(first, second).IsFinished();
    std::vector<Entry> firstEntries;
    std::vector<Entry> secondEntries;
    return ReadEntries(first, firstEntries) && ReadEntries(second, secondEntries) &&
           std::equal(firstEntries.begin(), firstEntries.end(), secondEntries.begin(), secondEntries.end(),
                      [&](const Entry& one, const Entry& other) {
                          return HoldSame(first + L'\\' + one.name, one, second + L'\\' + other.name, other);
                      });
}

bool RemoveCopied(const Text& source, const Entry& sourceEntry, const Text& copy, const Entry& copyEntry);

bool RemoveCopiedEntries(const Text& source, const Text& copy) {
    std::vector<Entry> entries;
    std::vector<Entry> copies;
    if (!ReadEntries(source, entries) || !ReadEntries(copy, copies))
        return false;
    bool isEmpty = true;
    for (const Entry& entry : entries) {
        const auto found =
            std::find_if(copies.begin(), copies.end(), [&](const Entry& other) { return other.name == entry.name; });
        const bool isGone = found != copies.end() &&
                            RemoveCopied(source + L'\\' + entry.name, entry, copy + L'\\' + found->name, *found);
        isEmpty = isEmpty && isGone;
    }
    return isEmpty;
}

// A read-only mark would keep an entry where it is.
bool Remove(const Text& path, BOOL(WINAPI* remove)(const WCHAR*)) {
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    return remove(path.c_str()) != FALSE;
}

bool RemoveCopied(const Text& source, const Entry& sourceEntry, const Text& copy, const Entry& copyEntry) {
    if (sourceEntry != copyEntry || (sourceEntry.kind & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return false;
    if ((sourceEntry.kind & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return RemoveCopiedEntries(source, copy) && Remove(source, ::RemoveDirectoryW);
    const CopiedFile copied(source, copy);
    return copied.IsFinished() && Remove(source, ::DeleteFileW);
}

// Takes a handle that may write, so a read-only mark goes for that time.
bool FlushFile(const WCHAR* path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    const bool isMarked = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isMarked)
        ::SetFileAttributesW(path, attributes & ~FILE_ATTRIBUTE_READONLY);
    const File file(path, GENERIC_WRITE);
    const bool isFlushed = file.IsOpen() && ::FlushFileBuffers(file.Get()) != FALSE;
    if (isMarked)
        ::SetFileAttributesW(path, attributes);
    return isFlushed;
}

bool Flush(const Text& path, const Entry& entry) {
    if ((entry.kind & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return FlushFile(path.c_str());
    std::vector<Entry> entries;
    return ReadEntries(path, entries) && std::all_of(entries.begin(), entries.end(), [&](const Entry& below) {
               return Flush(path + L'\\' + below.name, below);
           });
}

bool ReadRootEntry(const WCHAR* path, Entry& entry) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(path, GetFileExInfoStandard, &data) == FALSE)
        return false;
    entry = MakeEntry({}, data.dwFileAttributes, data.nFileSizeHigh, data.nFileSizeLow);
    return true;
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

} // namespace

bool HasAttributes(std::basic_string_view<WCHAR> path) {
    return ::GetFileAttributesW(path.data()) != INVALID_FILE_ATTRIBUTES;
}

bool OpensForReading(const WCHAR* path) {
    return static_cast<bool>(FileHandle(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

// What has a longer path cannot be renamed, so no rename gives it one: it would not come back.
int RenameWithoutReplacing(const char* oldPath, const char* newPath) {
    const DWORD capacity = ::GetFullPathNameA(newPath, 0, nullptr, nullptr);
    if (capacity == 0 || capacity > MAX_PATH)
        return -1;
    // The system finds nothing wrong with a name that the item has already.
    if (::GetFileAttributesA(newPath) != INVALID_FILE_ATTRIBUTES) {
        ::SetLastError(ERROR_ALREADY_EXISTS);
        return -1;
    }
    if (::MoveFileExA(oldPath, newPath, 0) != FALSE)
        return 0;
    // To another volume the system copies under the new name itself, where a copy that ends early would look whole.
    // Only names that are the code page's alone have to go that way.
    const bool isOtherVolume = ::GetLastError() == ERROR_NOT_SAME_DEVICE;
    return isOtherVolume && !IsAscii(oldPath) && std::rename(oldPath, newPath) == 0 ? 0 : -1;
}

int RunShellOperation(SHFILEOPSTRUCTW& operation) {
    Text from = FullPath(operation.pFrom);
    Text to = operation.pTo != nullptr ? FullPath(operation.pTo) : Text();
    if (!ShellTakes(from) || (operation.pTo != nullptr && !ShellTakes(to)))
        return ERROR_FILENAME_EXCED_RANGE;
    if (operation.wFunc == FO_DELETE && !MayBeDeleted(from))
        return ERROR_INVALID_NAME;
    const Text folder = operation.wFunc == FO_COPY ? FolderOf(from) : from;
    if (IsFolder(folder) && !ShellTakesContents(folder, to.size()))
        return ERROR_FILENAME_EXCED_RANGE;
    if (operation.wFunc == FO_COPY && LiesInFolder(to.c_str(), (folder + L'\\').c_str()))
        return ERROR_INVALID_NAME;
    if (operation.wFunc == FO_COPY && IsEmptyFolder(folder))
        return MakeFolder(to);
    from += L'\0';
    to += L'\0';
    operation.pFrom = from.c_str();
    operation.pTo = operation.pTo != nullptr ? to.c_str() : nullptr;
    return ::SHFileOperationW(&operation);
}

bool CopyLink(const WCHAR* link, const WCHAR* newLink) {
    constexpr DWORD flags = COPY_FILE_COPY_SYMLINK | COPY_FILE_FAIL_IF_EXISTS;
    return ::CopyFileExW(link, newLink, nullptr, nullptr, nullptr, flags) != FALSE;
}

bool LiesInFolder(const WCHAR* path, const WCHAR* folder) {
    BY_HANDLE_FILE_INFORMATION wanted;
    if (!ReadIdentity(folder, wanted))
        return false;
    const Text full = FullPath(path);
    // A link below the folder can lead the path elsewhere; without the folder, the path would still be gone.
    return IsOneOfTheLevels(full, wanted) || IsOneOfTheLevels(FinalPath(FolderOf(full)), wanted);
}

bool HoldSameTree(const WCHAR* source, const WCHAR* copy) {
    Entry sourceEntry;
    Entry copyEntry;
    return ReadRootEntry(source, sourceEntry) && ReadRootEntry(copy, copyEntry) &&
           HoldSame(source, sourceEntry, copy, copyEntry);
}

bool RemoveCopiedTree(const WCHAR* source, const WCHAR* copy) {
    Entry sourceEntry;
    Entry copyEntry;
    return ReadRootEntry(source, sourceEntry) && ReadRootEntry(copy, copyEntry) &&
           RemoveCopied(source, sourceEntry, copy, copyEntry);
}

bool RemoveCopiedLink(const WCHAR* link, const WCHAR* /*copy*/) {
    const File doomed(link, DELETE, File::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information = {};
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return doomed.IsOpen() && ::GetFileInformationByHandle(doomed.Get(), &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

bool BringToDisk(const WCHAR* path) {
    Entry entry;
    return ReadRootEntry(path, entry) && Flush(path, entry);
}

void CopyFolderAttributes(const WCHAR* from, const WCHAR* to) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(from, GetFileExInfoStandard, &data) == FALSE)
        return;
    const File folder(to, FILE_WRITE_ATTRIBUTES);
    if (folder.IsOpen())
        ::SetFileTime(folder.Get(), &data.ftCreationTime, nullptr, &data.ftLastWriteTime);
    ::SetFileAttributesW(to, data.dwFileAttributes);
}

// Far beyond any content, where a lock binds nobody else.
bool ClaimForMove(HANDLE file) {
    return ::LockFile(file, 0, 0x40000000, 1, 0) != FALSE || ::GetLastError() != ERROR_LOCK_VIOLATION;
}

// The sharing modes alone hold processes apart here: the system locks files, not folders, and a file that stands for
// the turn would have to lie in the folder.
HANDLE TakeTurn(const WCHAR* /*folder*/, DWORD /*milliseconds*/) {
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return INVALID_HANDLE_VALUE;
}

void EndTurn(HANDLE /*turn*/) {}

bool IsItemAt(const WCHAR* path, HANDLE file) {
    return IsSameItem(File(path, 0, File::shareAll, FILE_FLAG_OPEN_REPARSE_POINT), file);
}

// By its handle, as another process can put another file there at any time. A read-only mark would keep it here.
bool DeleteFileAt(const WCHAR* path, HANDLE file) {
    const File doomed(path, DELETE | FILE_WRITE_ATTRIBUTES, File::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    FILE_BASIC_INFO unmarked = {};
    unmarked.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return IsSameItem(doomed, file) &&
           ::SetFileInformationByHandle(doomed.Get(), FileBasicInfo, &unmarked, sizeof unmarked) != FALSE &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

} // namespace Vellox::Platform
