#pragma once

/// @file
/// Questions to the file system, and operations on it.
///
/// "UTF-8" and "narrow" say how a function reads its path, and writes what it gives: as UTF-8, or in the system's own
/// narrow text. Bytes that are not UTF-8 reach a UTF-8 function as U+FFFD, so they name nothing.

#include <vector>

#include "frame.h"

/// The functions on paths and files.
namespace Vellox::FileNames {

/// @name Questions
/// @{

/// True if the path (UTF-8) names a file or a folder whose attributes can be read, whether or not it could be opened. A
/// link counts by itself, even if it points nowhere.
VELLOX_API bool CheckFileExistsEvenIfNotAccessible(std::string path);

/// True if it could be found out what the path (narrow) is; isDirectory then says whether it is a folder or a link to
/// one. On false, isDirectory keeps what it held.
VELLOX_API bool CheckPathIsDirectory(std::string path, bool& isDirectory);

/// A constant on these platforms: sets the flag to true and gives false, for every path and without a look at the disk.
VELLOX_API bool IsSpecialFile(std::string path, bool& flag);
/// A constant on these platforms: gives false, for every path and without a look at the disk.
VELLOX_API bool IsSymlink(std::string path);

/// True if nothing matches the search pattern (UTF-8), such as `C:\x\*`. A plain folder path, with or without a
/// trailing `\`, asks for that folder's contents. A folder that is missing or cannot be listed counts as empty; the
/// name of a file gives false.
///
///     C:\Empty, C:\Empty\, C:\Empty\* => true    C:\Missing, "" => true    C:\Empty\*.mp3 => true
///     C:\Full\* => false                        C:\Full\a.wav => false
VELLOX_API bool IsFolderEmpty(std::string pattern);

/// The bytes that the user may still write on the volume of the folder (narrow). If the folder is not there or the
/// query fails: 9223372036854775807, the largest value, not 0.
VELLOX_API std::int64_t GetAvailableSpace(std::string path);

/// The path of the running executable, narrow; empty if the system does not tell it. On Linux, where the executable can
/// be replaced or removed meanwhile, the path that it had.
VELLOX_API std::string GetModuleFilename();

/// Makes the folder (narrow, not null) the current directory of the process, for all threads. A failure changes nothing
/// and is not reported.
VELLOX_API void VelloxSetCurrentDirectory(const char* path);

/// @}

/// @name Creating folders
/// @{

/// Makes one folder (UTF-8) whose parent exists. False if it could not be made, so also if the name is taken already,
/// even by a folder.
VELLOX_API bool CreateDirectoryA(std::string path);

/// Makes every missing level of the path (UTF-8, only `\` separates). The first component stands for the drive and is
/// neither tested nor made: `Songs` alone makes nothing and gives true. `\a\b` makes `\a` and `\a\b`; of
/// `\\server\share\a`, `\\server\share` stands for the drive.
///
///     C:\a\b => makes C:\a, C:\a\b    C: => true, nothing made    "" => true    C:/a/b => true, nothing
///
/// False at the first level that cannot be made; levels made before stay. A file on the way counts as a level that is
/// there.
VELLOX_API bool CreateDirectories(std::string path);

/// @}

/// @name Listing
/// @{

/// The names (UTF-8), without their folder, of the entries that match the search pattern (UTF-8) and are no folders.
/// The last component may hold `*` and `?`; a name without them matches the one entry of that name. "." and ".." never
/// appear. The order is the system's own. A pattern that cannot be searched, one that ends in a separator included,
/// gives an empty list. With a.wav, TAKE.WAV and notes in `C:\w`, on Linux:
///
///     C:\w\*, C:\w\*.* => all three        C:\w\*.wav => a.wav, TAKE.WAV    C:\w\t?ke.wav => TAKE.WAV
///     C:\w\a.wav => a.wav                  C:\w\A.WAV => none               C:\w\, "" => none
///     C:\w\notes.*, C:\w\notes?.* => notes                                 C:\w\*. => notes
///
/// A pattern means what it means to the search of Windows. A `?` is one character but a dot, or nothing in front of a
/// dot and at the end of the name. A dot in front of a `*` or `?` is a dot or the end of the name. A `*` in front of a
/// dot does not take the last dot of the name, and neither does a `*` that only dots follow.
///
/// What a name has that UTF-8 or a path cannot tell comes as U+FFFD: on Windows half a surrogate pair, on Linux bytes
/// that are not UTF-8, and a backslash. A path with that character in its place names nothing.
VELLOX_API std::vector<std::string> GetFolderFiles(std::string pattern);
/// The same of the entries that are folders; links to folders count. A pattern of dots alone, or a drive without a
/// separator, gives the name of the folder that it leads to: in `C:\w\x`, `.` and `C:` give x, and `..` gives w.
VELLOX_API std::vector<std::string> GetFolderSubfolders(std::string pattern);

/// The list of files, one name at a time, from the last to the first.
///
/// With name null: lists the files that match the pattern (UTF-8, not null), stores a new listing in `*state` (what was
/// there is overwritten) and gives their number. With name not null: the pattern is not looked at; copies the next name
/// into name, at most maxLength bytes of it and a NUL, and gives how many names are left. When no name is left it gives
/// -1, leaves name alone and frees the listing; `*state` must not be used again.
///
/// maxLength is positive and name holds maxLength + 1 bytes. The caller owns the listing and ends it by asking until
/// -1. A listing belongs to one thread at a time.
VELLOX_API std::int32_t GetFolderFiles(const char* pattern, char* name, std::int32_t maxLength, void** state);

/// @}

/// @name Copying and deleting
/// @{

/// Why a file was not copied.
enum CopyFileError : std::int32_t {
    SourceNotReadable = 0,      ///< a read fault, or a file that someone holds, on either side
    SourceNotFound = 1,         ///< the source cannot be opened for reading, or is a folder
    DestinationExists = 2,      ///< failIfExists was asked for, and the destination can be opened
    DestinationNotWritable = 3, ///< any other failure
};

/// Copies one file to a path whose folder exists (both UTF-8). True if it was copied. With failIfExists a taken
/// destination is a failure, otherwise it is replaced, unless it is read-only or held. Links are followed on both
/// sides: the copy goes where a link at the destination leads, and on Linux one that leads nowhere is refused. Source
/// and destination the same file: refused as held.
///
/// On failure `*error`, if error is not null, tells the class of the failure, worked out from a new look at both paths.
/// On success `*error` keeps what it held.
///
/// What stands at the destination after a failure: on Linux what stood there before, the old file or nothing, never a
/// part. The copy is made beside it and then takes its name, so the user has to be allowed to make files in that
/// folder, also where the old file could be written to. On Windows the system's CopyFileW works in place: if it breaks
/// off, as on a full disk, the old content is lost, and the destination is gone or a part.
///
///     no source, or a folder => SourceNotFound          the source itself => SourceNotReadable
///     taken, with failIfExists => DestinationExists     no folder for it => DestinationNotWritable
///     taken by a folder or read-only, without failIfExists => DestinationNotWritable
VELLOX_API bool CopyFileA(std::string source, std::string destination, bool failIfExists, CopyFileError* error);

/// Copies what is in the source folder, subfolders included, into the destination folder, which is made if it is
/// missing, with the folders above it. What is there stays, but a file of the same name is overwritten. On Linux links
/// are copied as links; on Windows the shell decides, and as a rule copies what a link leads to. A folder is never
/// copied into itself. A new folder can appear under its name only when all is in it.
///
/// Paths are UTF-8. One that is not valid UTF-8 is read byte by byte on Windows, each as the character of its value,
/// and names nothing on Linux.
///
/// Nothing tells of a failure; look at the destination afterwards. What cannot be read is left out. On Linux each file
/// there is the old one or the whole copy, also after the disk was full; on Windows the shell stops at a full disk and
/// can leave a part of a file.
VELLOX_API void CopyFolder(std::string source, std::string destination);

/// Deletes the folder with its contents, or the file, if it is one. The path, not null, is read as in CopyFolder and
/// taken literally. A link is removed, what it points to is not touched. But a volume that is mounted in the folder is
/// emptied like a part of it. A root, the current folder and one above it stay.
///
///     showShellDialogs true: for good, on Windows with the shell's own questions, on Linux without.
///     permanently false:     into the system's recycle bin. What cannot be recycled stays on Linux; on Windows the
///                            shell deletes it for good without a word, as on a volume that has no bin.
///     permanently true:      silently and for good.
///
/// Nothing tells of a failure; what could not be deleted is still there afterwards.
VELLOX_API void DeleteFolderWithContents(const char* path, bool showShellDialogs, bool permanently);

/// @}

/// @name Free names
/// @{

/// The first name (UTF-8) that is free among stem + extension, stem + 1 + extension, and so on. Nothing is created, so
/// the name is a proposal that someone else can take first. The extension carries its own dot. Taken means: a file that
/// can be opened for reading stands there. A folder does not count, nor does a file that cannot be opened.
///
///     C:\w\take, .wav => C:\w\take.wav, if taken C:\w\take1.wav, C:\w\take2.wav, ...
///
/// Gives the empty string when no number up to 2147483647 can be free.
VELLOX_API std::string ComposeNewFilenameAndCheckExists(std::string stem, std::string extension);
/// The same in a folder: one `\` goes between folder and stem, unless the folder is empty or ends in one.
VELLOX_API std::string ComposeNewFilenameAndCheckExists(std::string folder, std::string stem, std::string extension);

/// The first free name for a folder, in the same way but with a blank before the number. Taken means: any file or
/// folder stands there.
///
///     C:\w\New, "" => C:\w\New, if taken C:\w\New 1, C:\w\New 2, ...
VELLOX_API std::string ComposeNewFolderAndCheckExists(std::string stem, std::string tail);
/// The same in a folder, joined as for a file.
VELLOX_API std::string ComposeNewFolderAndCheckExists(std::string folder, std::string stem, std::string tail);

/// @}

/// @name Temporary names
/// @{

/// Makes a new empty file in the temporary folder and gives its path (narrow): the first three characters of the prefix
/// (narrow), a hexadecimal number and .TMP. The file is the caller's. Empty if there is no temporary folder or no file
/// can be made.
VELLOX_API std::string GetTempFilename(std::string prefix);
/// The same of wide text, with the first three units of the prefix.
VELLOX_API WideString GetTempFilename(WideString prefix);

/// A path (narrow) in the temporary folder at which nothing stands now: "fld", a hexadecimal number and .TMP. Nothing
/// is left on the disk, so someone else can take the name. Empty if none can be had.
///
/// The system makes an empty file to find the name, which is then deleted by the path read as UTF-8. On Windows, where
/// the code page is not UTF-8 and the temporary folder not ASCII, that is another path, and the empty file stays. The
/// wide form has no such limit.
VELLOX_API std::string GetTempFilenameNoCreate();
/// The same as wide text.
VELLOX_API WideString GetTempFilenameNoCreateW();
/// The same as GetTempFilenameNoCreateW, in spite of its name.
VELLOX_API WideString GetTempFolderW();

/// The first free path of vellox.EXT, vellox1.EXT, ... in the temporary folder; the extension comes without its dot.
/// Nothing is created, so a second call gives the same path. Without a temporary folder, the name alone. The folder is
/// told narrow, and whether a path is free is asked of it as UTF-8: on Windows, where the code page is not UTF-8 and
/// the folder not ASCII, every path seems free.
VELLOX_API std::string GetUniqueTempFilename(std::string extension);

/// The temporary folder, narrow, with a trailing `\`; empty if there is none. On Linux $TMPDIR, or /tmp.
VELLOX_API std::string GetTempFolder();
/// The same as GetTempFolder.
VELLOX_API std::string GetTempFolderT();
/// The same folder (narrow), absolute and with `.` and `..` resolved.
VELLOX_API std::string GetTempFolderRoot();

/// @}

} // namespace Vellox::FileNames
