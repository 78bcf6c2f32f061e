#pragma once

#include <cstdint>

namespace QuirnFiles {

// The class of a system by its version: 0 to 3 are systems on which a flush is not to be asked for.
inline constexpr std::int32_t firstFlushingClass = 4;
std::int32_t ClassifyOsVersion(std::uint32_t platformId, std::uint32_t major, std::uint32_t minor);

} // namespace QuirnFiles
