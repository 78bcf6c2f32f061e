#include "pathtext/filenames.h"

#include "frame/text.h"
#include "pathtext/join.h"
#include "pathtext/split.h"
#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

constexpr auto npos = std::string::npos;
constexpr std::size_t longestPart = 255;

char* MakeFullPath(char (&buffer)[pathBufferSize], const char* path) {
    return ::_fullpath(buffer, path, pathBufferSize);
}

WideChar* MakeFullPath(WideChar (&buffer)[pathBufferSize], const WideChar* path) {
    return ::_wfullpath(buffer, path, pathBufferSize);
}

template <typename Char> std::basic_string_view<Char> FolderPart(std::basic_string_view<Char> fullPath) {
    const PathParts<Char> parts = SplitPath(fullPath);
    if (!parts.FitsInto(longestPart, longestPart))
        return {};
    return fullPath.substr(0, parts.drive.size() + parts.folder.size());
}

template <typename Char> std::basic_string<Char> FullFolder(const Char* path) {
    Char full[pathBufferSize];
    return std::basic_string<Char>(MakeFullPath(full, path) != nullptr ? FolderPart<Char>(full)
                                                                       : std::basic_string_view<Char>());
}

template <typename Char> void ReplaceByFolder(Char* path, std::int32_t capacity) {
    if (path == nullptr || capacity <= 0)
        return;
    const std::basic_string<Char> folder = FullFolder(path);
    const bool fits = folder.size() < static_cast<std::size_t>(capacity);
    path[fits ? folder.copy(path, folder.size()) : 0] = 0;
}

// The forms that take a string have the limit of the full path for the text as it comes too, also where the full path
// would be shorter: a text of 1040 characters gives the empty string, whatever `..` it holds.
template <typename Char> std::basic_string<Char> FullFolderOf(const std::basic_string<Char>& path) {
    const bool fits = std::char_traits<Char>::length(path.c_str()) < pathBufferSize;
    return fits ? FullFolder(path.c_str()) : std::basic_string<Char>();
}

template <typename Char> void CutToName(std::basic_string<Char>& path) {
    path.resize(std::char_traits<Char>::length(path.c_str()));
    path.erase(0, FindLast(std::basic_string_view<Char>(path), '\\') + 1);
}

} // namespace

std::string FolderOfPath(const std::string& path) {
    return FullFolderOf(path);
}

std::string_view FolderOfFullPath(std::string_view path) {
    return FolderPart(path);
}

std::string GetFilenameWithoutPath(std::string path) {
    CutToName(path);
    return path;
}

WideString GetFilenameWithoutPath(WideString path) {
    CutToName(path);
    return path;
}

std::string GetFilenameWithoutExtension(std::string path) {
    const std::size_t dot = FindLast(path, '.');
    if (dot != npos)
        path.erase(dot);
    return path;
}

std::string GetFolderPathFromFilename(std::string path) {
    const std::size_t separator = FindLastSeparator(path);
    if (separator != npos)
        path.erase(separator);
    return path;
}

void path_rimuovifilename(char* path, std::int32_t size) {
    ReplaceByFolder(path, size);
}

void path_rimuovifilename(WideChar* path, std::int32_t size) {
    ReplaceByFolder(path, size / static_cast<std::int32_t>(sizeof(WideChar)));
}

std::string path_rimuovifilename(std::string path) {
    return FullFolderOf(path);
}

WideString path_rimuovifilename(WideString path) {
    return FullFolderOf(path);
}

std::string GetPathWithoutFilename(std::string path) {
    return FullFolderOf(path);
}

std::string GetPathRoot(std::string& path) {
    const PathParts<char> parts = SplitPath(UpToNul(path));
    return parts.FitsInto(pathBufferSize - 1, pathBufferSize - 1) ? std::string(parts.drive) : std::string();
}

std::string AppendStringBeforeFilename(std::string path, std::string text) {
    std::string folder = FullFolderOf(path);
    text += GetFilenameWithoutPath(std::move(path));
    return JoinFolder(std::move(folder), text);
}

std::string FormatDirectory(std::string path) {
    path += "\\*";
    return path;
}

} // namespace Vellox::FileNames
