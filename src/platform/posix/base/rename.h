#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/posix/base/entry.h"

namespace Vellox::Posix {

// Gives the entry a new name, which has to be free. False, with errno set, if it was not or the move failed. EEXIST and
// ENAMETOOLONG come before EXDEV, so that nobody copies to another volume what cannot get its name there.
bool RenameIntoFreeName(int fromFolder, const char* from, int toFolder, const char* to);

// Gives the entry a name beside its own that no other program looks for, and gives that name. The empty text, with
// errno set, if that is not possible. RenameIntoFreeName is the way back.
std::string RenameToPrivateName(Entry entry);

// Deletes an entry, no folder, if it is the one with that status. Another process can put another one there at any
// time, but not under a name that it does not know, so it goes under such a name; where it cannot take one, a look
// right before has to do.
bool UnlinkIfSame(Entry entry, const struct stat& wanted);

} // namespace Vellox::Posix
