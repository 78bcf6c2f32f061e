#pragma once

#include <string>

namespace Vellox::Posix {

// Moves the entry into the freedesktop.org trash of its volume: that of the user's home, or one at the top of the
// volume. False, with the last error set, if that is not possible; the entry is then where it was.
bool MoveToRecycleBin(const std::string& path);

} // namespace Vellox::Posix
