#include "platform/operations.h"

#include <algorithm>
#include <cstdio>

#include "platform/windows/entries.h"
#include "platform/windows/move_by_copy.h"
#include "platform/windows/shell.h"

namespace Vellox::Platform {
namespace {

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

bool MayWidenBytes() {
    return true;
}

int RunShellOperation(SHFILEOPSTRUCTW& operation) {
    return Windows::RunShellOperation(operation);
}

bool LiesInFolder(const WCHAR* path, const WCHAR* folder) {
    return Windows::LiesInFolder(Windows::FullPath(path), folder);
}

MoveByCopyResult MoveByCopy(const WCHAR* source, const WCHAR* destination, CopyOfWhatStays copyOfWhatStays) {
    return Windows::MoveByCopy(Windows::FullPath(source), Windows::FullPath(destination), copyOfWhatStays);
}

// The sharing modes alone hold processes apart here: the system locks files, not folders, and a file that stands for
// the turn would have to lie in the folder.
HANDLE TakeTurn(const WCHAR* /*folder*/, DWORD /*milliseconds*/) {
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return INVALID_HANDLE_VALUE;
}

void EndTurn(HANDLE /*turn*/) {}

} // namespace Vellox::Platform
