#include "frame/text.h"
#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/filesystem.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

// True if the system gave a length that is text in the buffer.
bool IsWritten(DWORD length, std::size_t capacity) {
    return length != 0 && length < capacity;
}

std::string TempFolder(std::size_t capacity) {
    std::string folder(capacity, '\0');
    const DWORD length = ::GetTempPathA(static_cast<DWORD>(capacity), folder.data());
    folder.resize(IsWritten(length, capacity) ? length : 0);
    return folder;
}

constexpr std::size_t longFolderBufferSize = 3 * pathBufferSize;

} // namespace

std::string GetTempFilename(std::string prefix) {
    char folder[pathBufferSize] = {};
    char name[pathBufferSize] = {};
    if (!IsWritten(::GetTempPathA(pathBufferSize, folder), pathBufferSize) ||
        ::GetTempFileNameA(folder, prefix.c_str(), 0, name) == 0)
        return {};
    return name;
}

WideString GetTempFilename(WideString prefix) {
    WideChar folder[pathBufferSize] = {};
    WideChar name[pathBufferSize] = {};
    if (!IsWritten(::GetTempPathW(pathBufferSize, folder), pathBufferSize) ||
        ::GetTempFileNameW(folder, prefix.c_str(), 0, name) == 0)
        return {};
    return name;
}

std::string GetTempFilenameNoCreate() {
    std::string path = GetTempFilename("fld");
    if (!path.empty())
        ::DeleteFileW(WideArgument(path).c_str());
    return path;
}

WideString GetTempFilenameNoCreateW() {
    WideString path = GetTempFilename(WideString{'f', 'l', 'd'});
    if (!path.empty())
        ::DeleteFileW(path.c_str());
    return path;
}

WideString GetTempFolderW() {
    return GetTempFilenameNoCreateW();
}

std::string GetUniqueTempFilename(std::string extension) {
    extension.insert(0, 1, '.');
    return ComposeNewFilenameAndCheckExists(TempFolder(pathBufferSize), "vellox", std::move(extension));
}

std::string GetTempFolder() {
    return TempFolder(longFolderBufferSize);
}

std::string GetTempFolderT() {
    return GetTempFolder();
}

std::string GetTempFolderRoot() {
    return GetPathWithoutFilename(GetTempFolder());
}

} // namespace Vellox::FileNames
