#pragma once

#include <string>
#include <string_view>

namespace Vellox::FileNames {

// A name in a folder. An empty folder gives the name alone, a folder that ends in a backslash takes the name as it is,
// and any other gets one backslash; a forward slash does not end a folder.
inline std::string JoinFolder(std::string folder, std::string_view name) {
    if (!folder.empty() && folder.back() != '\\')
        folder += '\\';
    folder += name;
    return folder;
}

} // namespace Vellox::FileNames
