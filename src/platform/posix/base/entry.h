#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>

namespace Vellox::Posix {

// A name in an open folder.
struct Entry {
    int folder;
    const char* name;
};

inline bool IsSameEntry(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

inline bool IsDotName(std::string_view name) {
    return name == "." || name == "..";
}

// The read-only mark: nobody may write the file.
inline bool IsReadOnly(const struct stat& status) {
    return S_ISREG(status.st_mode) && (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

// A name in front of which no other program stands: whatever this library prepares, or is about to delete, has it for
// that time.
std::string NextTemporaryName();

// True if the entry that now has the name is the one with that status.
bool IsAt(Entry entry, const struct stat& wanted);

} // namespace Vellox::Posix
