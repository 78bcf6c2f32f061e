#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/guard.h"

// What the Windows bodies of platform/operations.h share: paths, what stands at them, and what a folder lists.
namespace Vellox::Windows {

using Text = std::wstring;

// The path in full as GetFullPathNameW gives it, without a separator at the end unless it is a root. Empty if the
// system refuses the path.
Text FullPath(const WCHAR* path);

// Up to the last backslash and without it; empty if there is none.
Text FolderOf(const Text& path);

inline constexpr DWORD shareReadersOnly = FILE_SHARE_READ | FILE_SHARE_DELETE;
inline constexpr DWORD shareAll = shareReadersOnly | FILE_SHARE_WRITE;

// What stands at the path, file or folder. A link is followed, but for FILE_FLAG_OPEN_REPARSE_POINT among the flags.
FileHandle Open(const Text& path, DWORD access = FILE_READ_ATTRIBUTES, DWORD shareMode = shareAll, DWORD flags = 0);

// Which entry it is, whatever path led to it.
struct Identity {
    DWORD volume;
    DWORD indexHigh;
    DWORD indexLow;

    bool operator==(const Identity&) const = default;
};

std::optional<Identity> IdentityOf(HANDLE item);
std::optional<Identity> IdentityAt(const Text& path);

// Where the path really leads: the path by which the system itself knows the nearest folder on the way that exists,
// with the path's own last component if that is a folder. Empty if there is none.
Text FinalFolder(const Text& fullPath);

// True if the full path is the entry or lies below it.
bool IsOneOfTheLevels(const Text& fullPath, const Identity& entry);

// What Platform::LiesInFolder promises; the folder that holds the path may be missing too.
bool LiesInFolder(const Text& fullPath, const Text& folder);

struct Entry {
    Text name;
    DWORD kind; // the directory bit and the link bit of the attributes
    ULONGLONG size;

    bool operator==(const Entry&) const = default;
    bool IsLink() const { return (kind & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }
    bool IsFolder() const { return kind == FILE_ATTRIBUTE_DIRECTORY; }
    bool LeadsToFolder() const { return (kind & FILE_ATTRIBUTE_DIRECTORY) != 0; }
};

// What stands at the path itself, without a name.
std::optional<Entry> ReadEntry(const Text& path);

// What the folder lists, in the order of the names. False if that is not all: the folder, or the rest of it, cannot be
// read. Takes a full path, of any length.
bool ReadEntries(const Text& folder, std::vector<Entry>& entries);

} // namespace Vellox::Windows
