#pragma once

#include <cstddef>

namespace Vellox::Posix {

// Reads until that much is there or the file ends. Done tells how much came, also when it gives false with errno set.
bool ReadAll(int file, void* data, std::size_t count, std::size_t& done);

// Writes all of it, however little the system takes at a time. Done tells how much went, also when it gives false with
// errno set.
bool WriteAll(int file, const void* data, std::size_t count, std::size_t& done);

} // namespace Vellox::Posix
