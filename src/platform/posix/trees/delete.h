#pragma once

#include <string>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/entry.h"

// Works relative to open folders, so that a folder that is swapped for a link on the way leads nowhere else. Links are
// handled as links. All give false, with the last error set, if they could not do the whole job.

namespace Vellox::Posix {

// Opens a folder whose entries are to go, also where its owner has taken the right for that from himself.
Descriptor OpenFolderToEmpty(Entry entry);

// Deletes an entry of any kind, a folder with its contents. Goes on after a failure with what can be deleted.
bool DeleteTree(const std::string& path);
bool DeleteTreeEntry(Entry entry);

// Deletes what an open folder holds. The folder itself stays.
bool DeleteContents(int folder);

} // namespace Vellox::Posix
