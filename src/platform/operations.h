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

// Makes a link to the same target under a name that is free. False if that is not possible.
bool CopyLink(const WCHAR* link, const WCHAR* newLink);

// True if the path is the folder, lies below it or leads through it, judged by what stands on the disk and not by text.
// The path itself need not exist; its folder does.
bool LiesInFolder(const WCHAR* path, const WCHAR* folder);

// True if the copy is finished: it holds entries of the same names and kinds, files of the same sizes and links to the
// same targets, and nobody is writing to a file of the source. An entry that cannot be inspected makes it false.
bool HoldSameTree(const WCHAR* source, const WCHAR* copy);

// Removes a file or a folder of which there is a finished copy. What is not in the copy as it stands at that moment,
// because it came later or was changed, stays where it is; then, or if something could not be removed, it gives false.
bool RemoveCopiedTree(const WCHAR* source, const WCHAR* copy);

// The same for a link; on Windows, where links are not compared, any link at the path goes.
bool RemoveCopiedLink(const WCHAR* link, const WCHAR* copy);

// Takes an open file or folder for a move, until it is closed; false if another move has it.
bool ClaimForMove(HANDLE item);

// True if the path still leads to the open file or folder itself.
bool IsItemAt(const WCHAR* path, HANDLE item);

// Deletes the file at the path, read-only or not, if it is the open file itself.
bool DeleteFileAt(const WCHAR* path, HANDLE file);

// Has the system write a file or a folder with all it holds from its memory to the disk. False if a write failed.
bool BringToDisk(const WCHAR* path);

// Takes the turn at a folder, which one holder at a time has among all processes and threads that ask for it here, and
// waits for it so many milliseconds at most. Gives what EndTurn takes, or INVALID_HANDLE_VALUE without a turn: the wait
// is over, the folder cannot be opened, or the system or the folder's file system has no turns. The turn of a process
// that ends, however it ends, ends with it.
HANDLE TakeTurn(const WCHAR* folder, DWORD milliseconds);
void EndTurn(HANDLE turn);

// Gives the second folder the permissions and the modification time of the first, as far as the system lets.
void CopyFolderAttributes(const WCHAR* from, const WCHAR* to);

} // namespace Vellox::Platform
