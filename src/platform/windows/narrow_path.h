#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace Vellox::Platform {

// The size of the folder part of a narrow path, without its drive, as _splitpath_s finds it. The C runtime knows the
// characters of the code page: in Japanese text, code page 932, the second byte of one can have the value of a
// backslash. That of a dot or a colon, a second byte never has. None where only the bytes can tell.
std::optional<std::size_t> FolderSizeByCodePage(std::string_view path);

} // namespace Vellox::Platform
