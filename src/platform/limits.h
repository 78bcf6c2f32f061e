#pragma once

#include <cstddef>

namespace Vellox {

// Characters of a working buffer for a path, terminator included.
inline constexpr std::size_t pathBufferSize = 1040;

} // namespace Vellox
