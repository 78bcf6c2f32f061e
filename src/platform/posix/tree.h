#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/posix/descriptor.h"

// Operations on folders with all they hold, relative to open folders, so that a folder that is swapped for a link on
// the way leads nowhere else. Links are handled as links. All give false, with the last error set, if they could not
// do the whole job.

namespace Vellox::Posix {

// Deeper trees are refused instead of running out of stack.
inline constexpr int deepestTree = 1000;

// A name in an open folder.
struct Entry {
    int folder;
    const char* name;
};

// True if two entries, neither of them a folder, are of one kind and hold the same. Files of one size and one
// modification time count as the same; where only the times differ, as not every file system can keep them, the bytes
// decide.
bool HoldSameData(Entry first, const struct stat& firstStatus, Entry second, const struct stat& secondStatus);

// Deletes an entry, no folder, if it is the one with that status. Another process can put another one there at any
// time, but not under a name that it does not know, so it goes under such a name; where it cannot take one, a look
// right before has to do.
bool UnlinkIfSame(Entry entry, const struct stat& wanted);

// Opens a folder whose entries are to go, also where its owner has taken the right for that from himself.
Descriptor OpenFolderToEmpty(Entry entry);

// Copies what the source folder holds into the destination folder, which is made if it is missing. Goes on after a
// failure with what can be copied.
bool CopyTreeContents(const std::string& source, const std::string& destination);

// Deletes an entry of any kind, a folder with its contents. Goes on after a failure with what can be deleted.
bool DeleteTree(const std::string& path);
bool DeleteTreeEntry(Entry entry);

} // namespace Vellox::Posix
