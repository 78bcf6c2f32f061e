#include "platform/operations.h"

#include <algorithm>
#include <cstdio>

#include "platform/windows/entries.h"
#include "platform/windows/shell.h"
#include "platform/windows/trees.h"

namespace Vellox::Platform {
namespace {

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

bool IsSameItem(HANDLE first, HANDLE second) {
    const std::optional<Windows::Identity> item = Windows::IdentityOf(first);
    return item && item == Windows::IdentityOf(second);
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

bool MayWidenBytes() {
    return true;
}

int RunShellOperation(SHFILEOPSTRUCTW& operation) {
    return Windows::RunShellOperation(operation);
}

bool CopyLink(const WCHAR* link, const WCHAR* newLink) {
    constexpr DWORD flags = COPY_FILE_COPY_SYMLINK | COPY_FILE_FAIL_IF_EXISTS;
    return ::CopyFileExW(link, newLink, nullptr, nullptr, nullptr, flags) != FALSE;
}

bool LiesInFolder(const WCHAR* path, const WCHAR* folder) {
    return Windows::LiesInFolder(Windows::FullPath(path), folder);
}

bool HoldSameTree(const WCHAR* source, const WCHAR* copy) {
    return Windows::HoldSameTree(Windows::FullPath(source), Windows::FullPath(copy));
}

bool RemoveCopiedTree(const WCHAR* source, const WCHAR* copy) {
    return Windows::RemoveCopiedTree(Windows::FullPath(source), Windows::FullPath(copy));
}

bool RemoveCopiedLink(const WCHAR* link, const WCHAR* /*copy*/) {
    const FileHandle doomed = Windows::Open(link, DELETE, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information = {};
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return doomed && ::GetFileInformationByHandle(doomed.Get(), &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

bool BringToDisk(const WCHAR* path) {
    return Windows::BringToDisk(Windows::FullPath(path));
}

void CopyFolderAttributes(const WCHAR* from, const WCHAR* to) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(from, GetFileExInfoStandard, &data) == FALSE)
        return;
    if (const FileHandle folder = Windows::Open(to, FILE_WRITE_ATTRIBUTES))
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
    const FileHandle item = Windows::Open(path, 0, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    return item && IsSameItem(item.Get(), file);
}

// By its handle, as another process can put another file there at any time. A read-only mark would keep it here.
bool DeleteFileAt(const WCHAR* path, HANDLE file) {
    const FileHandle doomed =
        Windows::Open(path, DELETE | FILE_WRITE_ATTRIBUTES, Windows::shareAll, FILE_FLAG_OPEN_REPARSE_POINT);
    FILE_BASIC_INFO unmarked = {};
    unmarked.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    FILE_DISPOSITION_INFO deletion = {TRUE};
    return doomed && IsSameItem(doomed.Get(), file) &&
           ::SetFileInformationByHandle(doomed.Get(), FileBasicInfo, &unmarked, sizeof unmarked) != FALSE &&
           ::SetFileInformationByHandle(doomed.Get(), FileDispositionInfo, &deletion, sizeof deletion) != FALSE;
}

} // namespace Vellox::Platform
