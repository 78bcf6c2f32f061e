#pragma once

#include "platform/windows/entries.h"

// A whole tree, read and removed by full paths.
namespace Vellox::Windows {

// True if the copy is finished: it holds entries of the same names and kinds and files of the same contents, and nobody
// is writing to a file of the source. An entry that cannot be inspected, and any link, makes it false.
bool HoldSameTree(const Text& source, const Text& copy);

// Removes a file or a folder of which there is a finished copy. What is not in the copy as it stands at that moment,
// because it came later or was changed, stays where it is; then, or if something could not be removed, it gives false.
bool RemoveCopiedTree(const Text& source, const Text& copy);

// Has the system write a file or a folder with all it holds from its memory to the disk. False if a write failed.
bool BringToDisk(const Text& path);

} // namespace Vellox::Windows
