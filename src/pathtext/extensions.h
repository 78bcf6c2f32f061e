#pragma once

#include <string_view>

namespace Vellox::FileNames {

// True if the text ends in a dot and the extension, which carries none, without regard to ASCII case. Both are read up
// to their first NUL.
bool EndsInExtension(std::string_view text, std::string_view extension);

} // namespace Vellox::FileNames
