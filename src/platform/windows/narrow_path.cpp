#include "platform/windows/narrow_path.h"

#include <cstdlib>
#include <string>

namespace Vellox::Platform {

std::optional<std::size_t> FolderSizeByCodePage(std::string_view path) {
    const std::string text(path);
    std::string folder(text.size() + 1, '\0');
    if (::_splitpath_s(text.c_str(), nullptr, 0, folder.data(), folder.size(), nullptr, 0, nullptr, 0) != 0)
        return std::nullopt;
    return folder.find('\0');
}

} // namespace Vellox::Platform
