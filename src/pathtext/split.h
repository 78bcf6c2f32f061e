#pragma once

#include <optional>
#include <string_view>

#include "frame/text.h"
#include "platform/win32.h"

namespace Vellox::FileNames {

// The four parts of a path, which in this order make it up.
template <typename Char> struct PathParts {
    std::basic_string_view<Char> drive;     // two characters, if the second is a colon
    std::basic_string_view<Char> folder;    // up to and with the last separator of either kind
    std::basic_string_view<Char> name;      // up to the last dot behind that
    std::basic_string_view<Char> extension; // from that dot

    bool FitsInto(std::size_t longestFolder, std::size_t longestName) const {
        return folder.size() <= longestFolder && name.size() <= longestName && extension.size() <= longestName;
    }
};

inline std::size_t FolderSize(std::string_view path, std::size_t driveSize) {
    const std::optional<std::size_t> size = Platform::FolderSizeByCodePage(path);
    return size ? *size : FindLastSeparator(path.substr(driveSize)) + 1;
}

inline std::size_t FolderSize(std::basic_string_view<WideChar> path, std::size_t driveSize) {
    return FindLastSeparator(path.substr(driveSize)) + 1;
}

template <typename Char> PathParts<Char> SplitPath(std::basic_string_view<Char> path) {
    constexpr auto npos = std::basic_string_view<Char>::npos;
    PathParts<Char> parts;
    if (path.size() >= 2 && path[1] == Char(':'))
        parts.drive = path.substr(0, 2);
    parts.folder = path.substr(parts.drive.size(), FolderSize(path, parts.drive.size()));
    path.remove_prefix(parts.drive.size() + parts.folder.size());
    const std::size_t dot = FindLast(path, '.');
    parts.name = path.substr(0, dot);
    if (dot != npos)
        parts.extension = path.substr(dot);
    return parts;
}

} // namespace Vellox::FileNames
