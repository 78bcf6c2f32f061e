#include "filesystem/queries.h"

#include <limits>

#include "filesystem/listing.h"
#include "frame/text.h"
#include "pathtext/join.h"
#include "platform/limits.h"
#include "platform/operations.h"
#include "vellox/filesystem.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {

bool CheckFileExists(const std::string& path) {
    return Platform::OpensForReading(WideArgument(path).c_str());
}

bool CheckFolderExists(const std::string& path) {
    return Platform::HasAttributes(WideArgument(path).View());
}

bool CheckFileExistsEvenIfNotAccessible(std::string path) {
    return CheckFolderExists(path);
}

bool CheckPathIsDirectory(std::string path, bool& isDirectory) {
    WIN32_FILE_ATTRIBUTE_DATA attributes = {};
    if (::GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &attributes) == FALSE ||
        attributes.dwFileAttributes == INVALID_FILE_ATTRIBUTES)
        return false;
    isDirectory = (attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return true;
}

bool IsSpecialFile(std::string /*path*/, bool& flag) {
    flag = true;
    return false;
}

bool IsSymlink(std::string /*path*/) {
    return false;
}

bool IsFolderEmpty(std::string pattern) {
    const std::string text(UpToNul(pattern));
    if (text.empty() || text.find_first_of("*?", FindLastSeparator(text) + 1) != std::string::npos)
        return !HasMatch(text);
    const DWORD attributes = ::GetFileAttributesW(WideArgument(text).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !HasMatch(JoinFolder(text, "*"));
}

std::int64_t GetAvailableSpace(std::string path) {
    constexpr std::int64_t unknown = std::numeric_limits<std::int64_t>::max();
    ULARGE_INTEGER available;
    available.QuadPart = unknown;
    ::GetDiskFreeSpaceExA(path.c_str(), &available, nullptr, nullptr);
    return available.QuadPart > unknown ? unknown : static_cast<std::int64_t>(available.QuadPart);
}

std::string GetModuleFilename() {
    char path[pathBufferSize] = {};
    ::GetModuleFileNameA(nullptr, path, pathBufferSize);
    return path;
}

void VelloxSetCurrentDirectory(const char* path) {
    ::SetCurrentDirectoryA(path);
}

} // namespace Vellox::FileNames
