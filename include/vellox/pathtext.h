#pragma once

/// @file
/// Functions on path text. None of them touches the disk, and all but a few depend on nothing but their arguments.
/// Those few read the current directory, and say so; they read their text as the system's own narrow text (see
/// frame.h), and all others as bytes, or units, without a meaning.
///
/// Each function has its own idea of a separator and of the dot that counts; the rows show it. Paths in the rows stand
/// bare, `C:\w` is the current directory, and `""` is the empty string.

#include "frame.h"

namespace Vellox::FileNames {

/// @name Extensions
/// Only `\` separates here; `/` is an ordinary character.
/// @{

/// The extension of the last component, dot included, or the whole path if it has none: a result equal to the input
/// means "no extension".
///
///     C:\a\b.wav => .wav      b.tar.gz => .gz      .wav => .wav      b. => .
///     C:\a.d\b => C:\a.d\b    b => b               "" => ""          C:/a.d/b => .d/b
///
/// The path is not changed, although it is taken by reference.
VELLOX_API std::string GetExtension(std::string& path);
/// The same of wide text.
VELLOX_API WideString GetExtension(WideString& path);

/// What stands behind the last dot, wherever that dot is; "." if the dot is the last character.
///
///     C:\a\b.wav => wav       C:\a.d\b => d\b      b. => .           b => ""
VELLOX_API std::string GetExtensionWithoutDot(std::string path);

/// True if a dot stands anywhere in the path, in a folder name too.
VELLOX_API bool HasExtension(std::string path);

/// Cuts the text at its last dot, wherever that is, and appends a dot and the extension, in place. The buffer has to
/// hold the result: at most the path, a dot, the extension and a NUL. Gives 1.
///
///     C:\a\b.txt, wav => C:\a\b.wav     b, wav => b.wav     C:\a.d\b, wav => C:\a.wav
///     b.txt, .wav => b..wav             "", wav => .wav
VELLOX_API std::int32_t extension_change(char* path, const char* extension);

/// Replaces the extension of the last component by the text given, or appends it if there is none. The text carries its
/// own dot; an empty text strips the extension.
///
///     C:\a\b.txt, .wav => C:\a\b.wav    C:\a.d\b, .wav => C:\a.d\b.wav    b.txt, wav => bwav
///     b.txt, "" => b                    C:/a.d/b, .wav => C:/a.wav
VELLOX_API std::string ExtensionChange(std::string path, std::string extension);

/// The path unchanged if it already ends in a dot and the last part of the extension, compared without regard to ASCII
/// case; otherwise as ExtensionChange.
///
///     b.WAV, .wav => b.WAV    b.txt, .wav => b.wav    b.gz, .tar.gz => b.gz    b., wav => b.
VELLOX_API std::string ForceExtension(std::string path, std::string extension);

/// As ForceExtension, but the old extension stays: the new one is appended.
///
///     b.WAV, .wav => b.WAV    b.txt, .wav => b.txt.wav
VELLOX_API std::string CheckAppendExtension(std::string path, std::string extension);

/// Puts the text in front of the extension of the last component, or at the end if there is none.
///
///     C:\a\b.txt, _x => C:\a\b_x.txt    C:\a.d\b, _x => C:\a.d\b_x    b.tar.gz, _x => b.tar_x.gz
VELLOX_API std::string AppendStringBeforeExtension(std::string path, std::string text);

/// @}

/// @name File names and folders
/// @{

/// What stands behind the last `\` (not `/`), up to the first NUL; the whole text without one.
///
///     C:\a\b.wav => b.wav     C:\a\ => ""     b => b     C:/a/b.wav => C:/a/b.wav
VELLOX_API std::string GetFilenameWithoutPath(std::string path);
/// The same of wide text.
VELLOX_API WideString GetFilenameWithoutPath(WideString path);

/// Everything before the last dot, folders included and wherever that dot stands.
///
///     C:\a\b.wav => C:\a\b    C:\a.d\b => C:\a    b => b    .wav => ""
VELLOX_API std::string GetFilenameWithoutExtension(std::string path);

/// Everything before the last `\` or `/`; the whole text if there is neither.
///
///     C:\a\b.wav => C:\a      C:\ => C:       b.wav => b.wav      \b => ""
VELLOX_API std::string GetFolderPathFromFilename(std::string path);

/// The folder of a path (narrow), absolute and with a trailing `\`. The path is made absolute first, so these read the
/// current directory; `/` counts as a separator. A path that ends in a separator is that folder itself.
///
///     C:\a\b.wav => C:\a\     C:\a\ => C:\a\     C:\a => C:\     C:/a/b.wav => C:\a\ (absolute)
///     b.wav => C:\w\          "" => C:\ (the parent of the current directory)
///     \\srv\share\b.wav => \\srv\share\ (a share has no drive)
///
/// Limits: a full path of 1039 characters, in it a folder part, a name and an extension of 255 each. Beyond them, and
/// where the current directory cannot be read, the result is the empty string. The forms that take a string also give
/// it for a text of 1040 characters and more, whatever its full path is.
///
/// The forms in place write the result over the path. size is the capacity of the buffer in bytes, in the wide form
/// too; a result that does not fit gives the empty string, and no character beyond the capacity is touched. A null path
/// does nothing.
VELLOX_API void path_rimuovifilename(char* path, std::int32_t size);
/// The same of wide text, in place.
VELLOX_API void path_rimuovifilename(WideChar* path, std::int32_t size);
/// The same as a new text.
VELLOX_API std::string path_rimuovifilename(std::string path);
/// The same of wide text, as a new text.
VELLOX_API WideString path_rimuovifilename(WideString path);

/// As path_rimuovifilename of the text (narrow) up to its first NUL.
VELLOX_API std::string GetPathWithoutFilename(std::string path);

/// The drive of the path (narrow) as it stands, letter and colon, or the empty string if it names none or has a folder,
/// name or extension of 1040 characters or more. The path is not changed, and the current directory is not read.
///
///     C:\a\b.wav => C:        b.wav => ""     \\srv\share\b.wav => ""
VELLOX_API std::string GetPathRoot(std::string& path);

/// Puts the text in front of the file name. The folder comes from path_rimuovifilename (narrow) and so is absolute; the
/// name comes from GetFilenameWithoutPath, so write `\`. Beyond the limits of path_rimuovifilename there is no folder:
/// the result is the text and the name alone, which is not absolute.
///
///     C:\a\b.wav, x_ => C:\a\x_b.wav     b.wav, x_ => C:\w\x_b.wav     C:/a/b.wav, x_ => C:\a\x_C:/a/b.wav
VELLOX_API std::string AppendStringBeforeFilename(std::string path, std::string text);

/// The search pattern for a folder's contents: the path and `\*`, whatever the path is.
///
///     C:\a => C:\a\*     C:\a\ => C:\a\\*     "" => \*
VELLOX_API std::string FormatDirectory(std::string path);

/// @}

/// @name Normal forms and comparison
/// @{

/// The full form of the path, narrow: absolute, `/` as `\`, the case as it was, a trailing separator kept. `.` and `..`
/// are resolved, never above the root of the drive or the share. The path need not exist.
///
///     C:/a/./b/../c.wav => C:\a\c.wav     rel\x.wav => C:\w\rel\x.wav     C:\a\.. => C:\     "" => ""
///
/// A path that the system refuses comes back as it was; one whose full form has 1040 bytes or more gives "".
VELLOX_API std::string NormalizePath(std::string path);

/// A copy with A to Z folded to small letters; every other byte stays. The path itself is not changed.
VELLOX_API std::string NormalizePathCase(std::string& path);

/// True if the texts are equal but for the case of A to Z. Nothing else is evened out: bring normal paths.
///
///     C:\A\b.wav, c:\a\B.WAV => true      C:\a, C:\a\ => false      C:/a, C:\a => false
VELLOX_API bool CompareNormalizedPaths(std::string first, std::string second);

/// True if the path begins with the folder and a `\`, but for the case of A to Z.
///
///     C:\Songs\a.wav, c:\songs => true     C:\Songs, C:\Songs => false     C:\Songs2\a, C:\Songs => false
///     anything, "" => true
VELLOX_API bool IsPathBelow(std::string path, std::string folder);

/// A path written with `/` in the local form: each `/` becomes `\`, and "C:" is put in front of a leading `/`.
///
///     /Users/me/a.wav => C:\Users\me\a.wav     Audio/a.wav => Audio\a.wav     D:/x => D:\x
VELLOX_API std::string ConvertPathToLocalSystem(std::string path);

/// @}

/// @name Absolute and relative paths
/// @{

/// The normal form of the path (narrow), which is taken against base if it is relative, or against the current
/// directory if base is null or empty. `/a` counts as relative, `\a` and `C:a` do not. The base is a folder, whatever
/// it looks like.
///
///     b.wav, C:\a => C:\a\b.wav    ..\b.wav, C:\a\c => C:\a\b.wav    C:\b.wav, anything => C:\b.wav
///     "", C:\a => C:\a\ (as a folder)    "", null => C:\w    "", "" => ""
VELLOX_API std::string GetAbsolutePath(std::string path, const char* base);

/// Expresses the path relative to the folder of another file (both narrow). Gives 1 and the result, or 0, with the
/// result as it was, if the two have no first component in common or one is beyond the limits of path_rimuovifilename.
/// The result is written last, so it may be one of the inputs. Case does not matter; the names in the result are those
/// of the path.
///
///     C:\S\Demo\s.sng, C:\S\Audio\t.wav => ..\Audio\t.wav    C:\S\s.sng, C:\S\t.wav => t.wav
///     C:\S\s.sng, D:\t.wav => 0                          "", "" => ""
///
/// The other file is one: write a `\` behind a folder, or its last component is taken for the file's name. A relative
/// path is taken against the whole text of the other file, as if that were a folder.
///
///     C:\S\Demo\, C:\S\t.wav => ..\t.wav    C:\S\Demo, C:\S\t.wav => t.wav    C:\S\s.sng, t.wav => s.sng\t.wav
///
/// Two shares have the empty text between their two leading `\` in common, and that counts as the first component: the
/// result then is 1 and a path that leads nowhere. A host with shares compares the servers and shares first.
///
///     \\srv1\s\a.sng, \\srv2\t\b.wav => ..\..\srv2\t\b.wav
VELLOX_API std::int32_t GetPathRelativeToOtherFile(std::string& result, const std::string& otherFile,
                                                   const std::string& path);

/// @}

} // namespace Vellox::FileNames
