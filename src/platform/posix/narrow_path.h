#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace Vellox::Platform {

// None: narrow text is plain bytes here, and each that looks like a separator is one.
inline std::optional<std::size_t> FolderSizeByCodePage(std::string_view /*path*/) {
    return std::nullopt;
}

} // namespace Vellox::Platform
