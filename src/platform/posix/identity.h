#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace Vellox::Posix {

inline bool IsSameEntry(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

inline bool IsDotName(std::string_view name) {
    return name == "." || name == "..";
}

// True if the path is that folder or would stand below it, whatever links lead there, or leads through it.
bool LiesInFolder(const std::string& path, const struct stat& folder);

// Gives an open folder the permissions and times of another, as far as the file system can keep them.
void KeepFolderAttributes(int folder, const struct stat& status);

} // namespace Vellox::Posix
