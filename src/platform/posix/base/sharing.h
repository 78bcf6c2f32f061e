#pragma once

#include "platform/posix/win32.h"

namespace Vellox::Posix {

// Marks the open file as used in this way, and tests it against the other users of this library, in this process
// and in others. False, with the last error set, if one of them does not share. The marks go with the last close of
// the descriptor. Where the file system has no such locks, every open succeeds.
bool TakeSharingLocks(int descriptor, DWORD access, DWORD shareMode);

// True if another user of this library has the file open and lets nobody read it.
bool IsReadingDenied(int descriptor);

} // namespace Vellox::Posix
