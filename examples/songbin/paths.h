#pragma once

#include <filesystem>
#include <string>

namespace songbin {

// What the user typed, as the library takes it: absolute, `\` only, no separator at the end. If that
// cannot be had, the path is empty and the problem says why.
struct ResolvedPath {
    std::string path;
    std::string problem;
};
ResolvedPath ResolvePath(const std::string& typed);

// What the user typed with the library's separators and no more. `.\` in front keeps a relative name like `C:x` from
// being taken for a drive.
std::string LibrarySpelling(std::string typed);

// A path of the library as the user of this system writes it.
std::string LocalPath(std::string path);

// The same for calls of std::filesystem and the streams.
std::filesystem::path SystemPath(const std::string& path);

std::string JoinPath(const std::string& folder, const std::string& name);

bool IsThere(const std::string& path);
bool IsFolder(const std::string& path);

} // namespace songbin
