#include <atomic>
#include <string>

#include "platform/operations.h"

namespace Vellox::Platform {
namespace {

using Text = std::wstring;

// A free name beside the path that nobody else uses; empty if the system takes none so long.
Text TemporaryPathBeside(const Text& path) {
    static std::atomic<unsigned> counter{0};
    const Text start =
        path.substr(0, path.find_last_of(L"\\/:") + 1) + L".vellox-" + std::to_wstring(::GetCurrentProcessId()) + L'-';
    Text temporary;
    do
        temporary = start + std::to_wstring(counter++) + L".tmp";
    while (::GetFileAttributesW(temporary.c_str()) != INVALID_FILE_ATTRIBUTES);
    return ::GetFullPathNameW(temporary.c_str(), 0, nullptr, nullptr) <= MAX_PATH ? temporary : Text();
}

bool Opens(const WCHAR* path, DWORD access) {
    HANDLE file = ::CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file) != FALSE;
}

// A file, unmarked, that nobody uses and that is not the source itself.
bool MayBeReplaced(const WCHAR* path, DWORD attributes, const WCHAR* source) {
    if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0)
        return false;
    HANDLE held = ::CreateFileW(source, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (held == INVALID_HANDLE_VALUE)
        return false;
    const bool mayBeWritten = Opens(path, GENERIC_WRITE);
    ::CloseHandle(held);
    return mayBeWritten;
}

void RemoveTemporary(const Text& path) {
    const DWORD error = ::GetLastError();
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    ::DeleteFileW(path.c_str());
    ::SetLastError(error);
}

} // namespace

// The system's own copy leaves a part of the new file in the place of the old one when the disk is full or the process
// dies. Where that copy would be refused it makes the answer, and where no other can be made, the copy.
bool CopyFileInOneStep(const WCHAR* source, const WCHAR* destination, bool failIfExists) {
    const auto copyInPlace = [&] { return ::CopyFileW(source, destination, static_cast<BOOL>(failIfExists)) != FALSE; };
    const Text path = destination;
    const bool isFile = !path.empty() && path.find_last_of(L"\\/") != path.size() - 1;
    const Text temporary = isFile ? TemporaryPathBeside(path) : Text();
    if (temporary.empty())
        return copyInPlace();
    while (true) {
        const DWORD attributes = ::GetFileAttributesW(destination);
        const bool isThere = attributes != INVALID_FILE_ATTRIBUTES;
        if (isThere && (failIfExists || !MayBeReplaced(destination, attributes, source)))
            return copyInPlace();
        const bool isCopied = ::CopyFileW(source, temporary.c_str(), TRUE) != FALSE;
        if (isCopied && ::MoveFileExW(temporary.c_str(), destination, isThere ? MOVEFILE_REPLACE_EXISTING : 0) != FALSE)
            return true;
        RemoveTemporary(temporary);
        // Whoever reads it without letting it be deleted can still let it be written to.
        if (isCopied && isThere)
            return copyInPlace();
        // What came meanwhile may be in use, and is looked at first.
        if (!isCopied || failIfExists || ::GetLastError() != ERROR_ALREADY_EXISTS)
            return false;
    }
}

} // namespace Vellox::Platform
