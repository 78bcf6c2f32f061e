#pragma once

#include "platform/posix/base/entry.h"
#include "platform/posix/trees/copied.h"

// What has been copied is removed entry by entry. Each first goes to a name of its own in its folder, under which no
// other program looks for it, and is looked at once more there. If it is not what the copy holds, because someone has
// written to it or put another entry in its place, it gets its old name back.

namespace Vellox::Posix {

// An open file that nobody who uses this library can write to, and its open copy. Without the states of both when the
// copy was made, or where those cannot tell, their bytes are compared. False, with the last error set, if the file
// stays.
bool RemoveCopiedFile(Entry source, int file, int copy, const CopiedFile* copied);

// A link or a FIFO.
bool RemoveCopiedSpecial(Entry source, Entry copy);

// What an open folder holds. The folder itself stays.
struct Removal {
    bool hasBegun; // something is gone
    bool isWhole;  // nothing is left
};
Removal RemoveCopiedContents(int source, int copy, const CopiedFiles& copied);

// Takes back a copy: removes from an open folder what is still just as it was copied into it.
void RemoveCopies(int copy, const CopiedFiles& copied);
bool RemoveCopy(Entry copy, const FileState& state);

} // namespace Vellox::Posix
