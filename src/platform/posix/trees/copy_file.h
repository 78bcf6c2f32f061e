#pragma once

#include <sys/stat.h>

#include "platform/posix/trees/temporary_entry.h"

namespace Vellox::Posix {

// Copies an open regular file, with its permissions and modification time, under a name in an open folder. The name
// holds the old entry, the whole copy or nothing, also if the process dies on the way, unless no entry can have it:
// then the folder is what gets its name at the end. False, with the last error set, on failure.
bool CopyRegularFile(int source, const struct stat& status, int folder, const char* name, Existing existing);

} // namespace Vellox::Posix
