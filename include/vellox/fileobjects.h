#pragma once

/// @file
/// Files that the host holds open.

#include "frame.h"

/// Writes out what the system still buffers of an open file. The handle is the system's own: a HANDLE on Windows, on
/// Linux the file descriptor as a pointer. Gives 1 if the file was flushed, else 0, also for a handle that is null or
/// not open. The handle stays the caller's.
VELLOX_API std::int32_t VelloxFlushFileBuffers(void* handle);
