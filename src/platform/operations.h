#pragma once

#include <string_view>

#include "platform/win32.h"

// What Win32 has no single call for, or what the C library already has under the same name in another
// meaning. Each system has its own.
namespace Vellox::Platform {

// True if GetFileAttributesW would give an answer; asks for less, and so takes less time. A NUL stands behind the path.
bool HasAttributes(std::basic_string_view<WCHAR> path);

// True if CreateFileW would open the path to read it, beside other readers and writers. A question leaves no statement
// about the file while it is asked, so it never keeps anybody else out.
bool OpensForReading(const WCHAR* path);

// The narrow route's rename: gives 0 after a move under the new name, which was free. A taken new name
// is refused in the same step, never replaced.
int RenameWithoutReplacing(const char* oldPath, const char* newPath);

// True if a path that is not UTF-8 may go to the shell operation as one character of the same value for each byte.
// Where narrow text is the bytes of a name, those characters make the name of another entry, and nothing may be
// touched.
bool MayWidenBytes();

// SHFileOperationW, kept from paths that it cannot take safely. Gives 0 if the whole operation succeeded.
int RunShellOperation(SHFILEOPSTRUCTW& operation);

// True if the path is the folder, lies below it or leads through it, judged by what stands on the disk and not by text.
// The path itself need not exist, nor the folders above it; the nearest one that does decides.
bool LiesInFolder(const WCHAR* path, const WCHAR* folder);

// What became of a move by copy. After NameTaken and Failed the source is whole at its old place.
enum class MoveByCopyResult { Done, NameTaken, Failed };

// What becomes of the copy when the source cannot be removed.
enum class CopyOfWhatStays { TakeBack, Keep };

// Moves a file, a link or a folder with all it holds to a path that no entry has, by a copy, for a source that cannot
// be renamed to there. No folder is moved to a path that lies in itself, and no folder above the destination is made.
//
// The copy is made beside the destination, under the name `.vellox-move` and a number. It takes the destination's name,
// in one step, when it holds what the source holds and is on the disk. Only then is the source removed, entry by entry,
// and each entry only if the copy still holds the same; what another program writes or puts there meanwhile stays.
//
// Done: the destination holds the whole source as it was copied. Of the source there is left what could not be removed,
// if some of it could, or if the copy is to be kept, or if the source is no longer at its path.
// Failed: nothing of the source is gone. The copy is removed again, except for what was changed in it since.
MoveByCopyResult MoveByCopy(const WCHAR* source, const WCHAR* destination, CopyOfWhatStays copyOfWhatStays);

// Takes the turn at a folder, which one holder at a time has among all processes and threads that ask for it here, and
// waits for it so many milliseconds at most. Gives what EndTurn takes, or INVALID_HANDLE_VALUE without a turn: the wait
// is over, the folder cannot be opened, or the system or the folder's file system has no turns. The turn of a process
// that ends, however it ends, ends with it.
HANDLE TakeTurn(const WCHAR* folder, DWORD milliseconds);
void EndTurn(HANDLE turn);

} // namespace Vellox::Platform
