#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/posix/base/entry.h"
#include "platform/posix/trees/attributes.h"
#include "platform/posix/trees/copied.h"
#include "platform/posix/trees/temporary_entry.h"

namespace Vellox::Posix {

// Copies what the source folder holds into the destination folder, which is made if it is missing, with the missing
// ones above it. Nothing is copied into the source itself. Goes on after a failure with what can be copied, and then
// gives false with the last error set.
bool CopyTreeContents(const std::string& source, const std::string& destination);

// Copies what an open folder holds, with all that a move keeps, into an open new one that nobody else knows. Files that
// are links to one file are so in the copy as well. Nobody who uses this library can write to a file while it is
// copied. False, with the last error set, if anything could not be copied; then that is soon the end.
bool CopyTreeForMove(int source, int copy, CopiedFiles& copied);

// Makes a copy of what is neither a file nor a folder: a link to the same target, or a FIFO.
bool CopySpecial(Entry from, const struct stat& status, Entry to, Existing existing, Keep keep);

} // namespace Vellox::Posix
