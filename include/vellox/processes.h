#pragma once

/// @file
/// Starting another program, and waiting for it.
///
/// A process handle is the system's own: a HANDLE on Windows, to be closed with CloseHandle; on Linux the descriptor of
/// the process (a pidfd) as a pointer, to be closed with close. Null is no process. The caller owns it.

#include <vector>

#include "frame.h"

namespace Vellox::FileNames {

/// Starts a program on its own: it outlives the caller, has no console of the caller's and no open file of its, and
/// runs with the caller's environment and current directory. On Linux it leads a session of its own, its standard
/// streams are /dev/null, and it is no child that the caller could wait for or be signalled about, unless the caller is
/// process 1 or has made itself a subreaper (PR_SET_CHILD_SUBREAPER of prctl): Linux makes such a process the parent of
/// every orphan below it, and it is to wait for them as it does for all others.
///
/// The command line (narrow) is the arguments with one blank between them, nothing quoted or escaped; an element with a
/// blank is two words to the program unless it brings its own double quotes. The first word names the program: with a
/// separator or a drive it is a path, without one it is searched for as the system does (on Linux, in PATH). The
/// argument program is not looked at, and the list is not changed.
///
///     {play, a.wav} => the words play, a.wav           {play, my take.wav} => play, my, take.wav
///     {play, "my take.wav"} => play, my take.wav       {"C:\my tools\play"} => C:\my tools\play
///
/// Gives null if the program is missing or refused, or if the line is empty. On Linux a program may be executable
/// without being readable; a script of that kind starts, and its interpreter then cannot read it.
VELLOX_API void* LaunchProcess(std::string program, std::vector<std::string>& arguments);

/// Waits until the process has ended, for at most that many milliseconds: 0 only asks, -1 waits without limit. Gives 1
/// if it has ended, also when asked again, and 0 if not, if the wait failed or for null. Any number of threads may wait
/// on one handle. The handle stays open.
VELLOX_API std::int32_t WaitForProcess(void* process, std::int32_t timeout);

} // namespace Vellox::FileNames
