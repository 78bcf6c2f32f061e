#pragma once

#include "platform/posix/base/entry.h"
#include "platform/posix/trees/attributes.h"
#include "platform/posix/trees/temporary_entry.h"

namespace Vellox::Posix {

// Copies an open regular file from its beginning into an open empty one: the bytes, with holes as holes, and the
// attributes. False, with the last error set, if not all bytes could be copied.
bool FillCopy(const OpenEntry& source, int copy, Keep keep);

// The same under a name in an open folder. The name holds the old entry, the whole copy or nothing, also if the process
// dies on the way, unless no entry can have it: then the folder is what gets its name at the end. False, with the last
// error set, on failure.
bool CopyRegularFile(const OpenEntry& source, Entry copy, Existing existing, Keep keep);

} // namespace Vellox::Posix
