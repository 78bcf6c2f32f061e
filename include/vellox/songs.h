#pragma once

/// @file
/// What a song is, by its name or by what its folder holds.

#include "frame.h"

namespace Vellox::FileNames {

/// True if the text ends in a dot and one of sng, sgw, sngw, txt, edl, aaf, omf, in any ASCII case. The disk is not
/// looked at, and the text is bytes up to its first NUL.
///
///     take1.sng, take1.SnG, .sng => true     sng, take1.sng.bak, C:\x.sng\ => false
VELLOX_API bool IsSongFile(std::string path);

/// True if the folder holds a file "Vellox.db" that can be opened for reading; its content does not count. The path is
/// read as UTF-8 and joined to the name with one `\`. The empty text gives false without a look at the disk.
VELLOX_API bool IsSongFolder(std::string folder);

} // namespace Vellox::FileNames
