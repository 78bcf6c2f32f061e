#pragma once

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// Removes an entry, a folder with all it holds, of which there is a copy. What the copy does not hold as it stands at
// that moment stays where it is; then, or if something could not be removed, it gives false with the last error set.
bool RemoveCopied(Entry source, Entry copy);

} // namespace Vellox::Posix
