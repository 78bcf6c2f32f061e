#include "paths.h"

#include <algorithm>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>

namespace fs = std::filesystem;
namespace FileNames = Vellox::FileNames;

namespace songbin {
namespace {

// Where it does, a path of the library is a path of the system as it stands.
constexpr bool systemWritesBackslashes = fs::path::preferred_separator == '\\';

// `C:\` keeps its separator: without it, it would mean the current folder of the drive.
std::string WithoutTrailingSeparators(std::string path) {
    constexpr std::size_t rootLength = 3;
    while (path.size() > rootLength && path.back() == '\\')
        path.pop_back();
    return path;
}

} // namespace

std::string LibrarySpelling(std::string typed) {
    if (!systemWritesBackslashes && !typed.empty())
        typed.insert(0, typed[0] == '/' ? "C:" : ".\\");
    std::replace(typed.begin(), typed.end(), '/', '\\');
    return typed;
}

ResolvedPath ResolvePath(const std::string& typed) {
    if (typed.empty())
        return {"", "an empty text names nothing"};
    if (!systemWritesBackslashes && typed.find('\\') != std::string::npos)
        return {"", "it has a backslash in it, which the library takes for a separator"};
    const std::string path = FileNames::GetAbsolutePath(LibrarySpelling(typed), nullptr);
    if (path.empty())
        return {"", "it is too long to be made absolute, or the current folder is gone"};
    return {WithoutTrailingSeparators(path), ""};
}

std::string LocalPath(std::string path) {
    if (systemWritesBackslashes)
        return path;
    if (FileNames::GetPathRoot(path) == "C:")
        path.erase(0, 2);
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

fs::path SystemPath(const std::string& path) {
    return fs::u8path(LocalPath(path));
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    return folder.empty() || folder.back() == '\\' ? folder + name : folder + "\\" + name;
}

bool IsThere(const std::string& path) {
    return FileNames::CheckFileExistsEvenIfNotAccessible(path);
}

bool IsFolder(const std::string& path) {
    bool isFolder = false;
    return FileNames::CheckPathIsDirectory(path, isFolder) && isFolder;
}

} // namespace songbin
