#pragma once

/// @file
/// The library's own trash: a folder that takes files and folders and gives them back. It has nothing to do with the
/// system's recycle bin.
///
/// Every item stands directly in the trash folder, under its own name or, if that is taken, with a number before the
/// extension. The catalogue ".trash.db" beside the items tells where each came from. An item is addressed by its path
/// in the trash folder, byte for byte as GetTrashFolderPath, one `\` and its name make it; a path in other case or with
/// other separators is not found.
///
/// Nothing in the trash expires, and no function here empties it.
///
/// Call these functions from one thread at a time. Two processes may use one trash, and the items themselves are never
/// lost or overwritten. On Linux each call that reads and writes the catalogue waits for the turn of another process,
/// but two seconds at most; without a turn, as on Windows, records that two processes write at the same moment can be
/// lost.

#include "frame.h"

namespace Vellox::FileNames {

/// "Trash" in GetHomeFolderBase(), without a trailing separator. Nothing is made.
VELLOX_API std::string GetTrashFolderPath();

/// Moves the file or folder into the trash and records it. The trash folder is made if it is missing, the home folder
/// above it is not. A link is moved as a link.
///
/// With updateCatalogueFile false the record waits in memory: that is for a batch, whose last call passes true and
/// writes all of them (CanPutBack and PutBack write them too). Records that no call has written when the process ends
/// are lost; their items stay in the trash.
///
/// Nothing is reported. If the item cannot be moved it stays whole at its place, and the record is made all the same; a
/// look at the path tells. On the way to another volume the item is copied, the copy is compared with it, and only then
/// is it removed. A path without a name (empty, `.`, `..`, a drive, a root, a share) does nothing. The trash folder, or
/// a folder that holds it, stays where it is.
VELLOX_API void DeleteFileToRecycleBin(std::string path, bool updateCatalogueFile);

/// True if the catalogue knows where the item came from. Whether the item is still in the trash, and whether its old
/// place is free, is not looked at. Rewrites the catalogue.
VELLOX_API bool CanPutBack(std::string trashPath);

/// Moves the item back to where it came from, and drops its record.
///
/// False if the catalogue does not know the item, or if something stands at its old place: then nothing moves and the
/// record stays. True says that the move was tried: if the old folder is gone or may not be written, the item stays in
/// the trash, now without a record. To be sure, look at the old place.
VELLOX_API bool PutBack(std::string trashPath);

} // namespace Vellox::FileNames
