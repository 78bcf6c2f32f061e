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

// `.\` keeps a relative name like `C:x` from being taken for a drive.
std::string LibrarySpelling(std::string typed) {
    if (!systemWritesBackslashes)
        typed.insert(0, typed[0] == '/' ? "C:" : ".\\");
    std::replace(typed.begin(), typed.end(), '/', '\\');
    return typed;
}

// `C:\` keeps its separator: without it, it would mean the current folder of the drive.
std::string WithoutTrailingSeparators(std::string path) {
    constexpr std::size_t rootLength = 3;
    while (path.size() > rootLength && path.back() == '\\')
        path.pop_back();
    return path;
}

bool IsAbsolute(const std::string& path) {
    return path.compare(0, 2, "\\\\") == 0 || path.compare(1, 2, ":\\") == 0;
}

// Taken as a folder, the whole path is its own folder part, so that `.` and `..` are resolved to the end. Near the
// limit of that call the folder in front of the name may still be short enough, and an absolute path needs no call.
std::string MakeAbsolute(const std::string& path) {
    std::string whole = FileNames::path_rimuovifilename(path + "\\");
    if (!whole.empty())
        return whole;
    const std::string name = FileNames::GetFilenameWithoutPath(path);
    if (name.empty() || name == "." || name == "..")
        return {};
    if (IsAbsolute(path))
        return path;
    const std::string folder = FileNames::path_rimuovifilename(path);
    return folder.empty() ? folder : folder + name;
}

} // namespace

ResolvedPath ResolvePath(const std::string& typed) {
    if (typed.empty())
        return {"", "names nothing"};
    if (!systemWritesBackslashes && typed.find('\\') != std::string::npos)
        return {"", "has a backslash in it, which the library takes for a separator"};
    const std::string path = MakeAbsolute(WithoutTrailingSeparators(LibrarySpelling(typed)));
    if (path.empty())
        return {"", "is too long to be made absolute, or the current folder is gone; try the full path"};
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
