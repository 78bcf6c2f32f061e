#pragma once

#include "platform/windows/entries.h"

// Whole folders, for a move by copy. All paths are full, and the folders that they name are held open by the caller.
// Each folder below them is held open while it is looked at, so that nobody can put another one in its place.
namespace Vellox::Windows {

// The system's time, in units of 100 ns.
using Time = LONGLONG;
Time Now();

// True if the copy holds what the open file holds. Where the file is older than the copy, its size and time tell, else
// its bytes. Both are open for reading.
bool HoldSameData(HANDLE file, HANDLE copy, Time copyBegan);

// True if the copy is finished: it holds entries of the same names and kinds, and files of the same contents to which
// nobody is writing. An entry that cannot be inspected, and any link, makes it false.
bool HoldSameEntries(const Text& folder, const Text& copy, Time copyBegan);

// Removes all that the folder holds and of which there is a finished copy. What came later or was changed stays; then,
// or if something could not be removed, it gives false.
bool RemoveCopiedEntries(const Text& folder, const Text& copy, Time copyBegan);

// Removes all that the folder holds. Links go, what they lead to stays.
bool RemoveEntries(const Text& folder);

// Has the system write all files of the folder to the disk.
bool FlushEntries(const Text& folder);

// A file that was made as a copy, with all rights: nobody else can write to it, rename or remove it while it is open. A
// read-only mark, which keeps a file from being opened so, is taken off and put on again.
FileHandle HoldCopy(const Text& path);

// The held item, now at the path, opened with another access; none if something else is there. The item is let go
// before, as an item that may be removed through one handle cannot be listed or copied through another: FindFirstFileW
// of Wine and CopyFileW do not share that right.
FileHandle OpenAnew(FileHandle held, const Text& path, DWORD access);

inline constexpr DWORD listing = GENERIC_READ;
inline constexpr DWORD removing = GENERIC_READ | DELETE | FILE_WRITE_ATTRIBUTES;

// Nobody can rename or remove the folder while it is open.
FileHandle HoldFolder(const Text& path, DWORD access);

// Deletes the open file, empty folder or link itself, read-only or not, whatever path it has by now. The handle was
// opened with DELETE and FILE_WRITE_ATTRIBUTES.
bool Delete(HANDLE item);

} // namespace Vellox::Windows
