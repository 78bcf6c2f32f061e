#include "platform/windows/shell.h"

#include <algorithm>

#include "platform/windows/entries.h"

namespace Vellox::Windows {
namespace {

enum class Links { Follow, TakeAsTheyAre };

// SHFileOperationW writes beyond its own buffers with a path of MAX_PATH units and more.
bool FitsIntoShell(std::size_t pathSize) {
    return pathSize < MAX_PATH;
}

// True if the shell takes the paths of all that the folder holds, here and, for a copy, below a folder whose path has
// the other size. What cannot be listed has no paths that the shell could find.
bool FitContentsIntoShell(const Text& folder, std::size_t copiedFolderSize, Links links) {
    std::vector<Entry> entries;
    ReadEntries(folder, entries);
    return std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        const std::size_t below = entry.name.size() + 1;
        if (!FitsIntoShell(std::max(folder.size(), copiedFolderSize) + below))
            return false;
        const bool isWalked = links == Links::Follow ? entry.LeadsToFolder() : entry.IsFolder();
        return !isWalked || FitContentsIntoShell(folder + L'\\' + entry.name, copiedFolderSize + below, links);
    });
}

// A drive, which alone keeps its separator, or a share: `C:\` and `\\server\share`.
bool IsRoot(const Text& path) {
    return path.back() == L'\\' || (path.starts_with(L"\\\\") && std::count(path.begin(), path.end(), L'\\') <= 3);
}

// By what stands on the disk: another drive letter, a short name or a link can lead to the folder too.
bool HoldsCurrentFolder(const Text& path) {
    const std::optional<Identity> folder = IdentityAt(path + L'\\');
    const Text current = FullPath(L".");
    return folder && (IsOneOfTheLevels(current, *folder) || IsOneOfTheLevels(FinalFolder(current), *folder));
}

// The shell reads wildcards, which no name holds, and would empty a root or the folder that the process stands in,
// which the system itself keeps from being removed.
bool MayBeDeleted(const Text& path) {
    return path.find_first_of(L"*?") == Text::npos && !IsRoot(path) && !HoldsCurrentFolder(path);
}

bool LeadsToFolder(const Text& path) {
    const std::optional<Entry> entry = ReadEntry(path);
    return entry && entry->LeadsToFolder();
}

int MakeFolders(const Text& path) {
    if (LeadsToFolder(path))
        return ERROR_SUCCESS;
    return ::SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
}

// The lists of the operation, each closed by an empty string.
int CallShell(SHFILEOPSTRUCTW& operation, Text from, Text to) {
    from += L'\0';
    to += L'\0';
    operation.pFrom = from.c_str();
    operation.pTo = operation.pTo != nullptr ? to.c_str() : nullptr;
    return ::SHFileOperationW(&operation);
}

int Delete(SHFILEOPSTRUCTW& operation, const Text& path) {
    if (!MayBeDeleted(path))
        return ERROR_INVALID_NAME;
    const std::optional<Entry> entry = ReadEntry(path);
    if (entry && entry->IsFolder() && !FitContentsIntoShell(path, 0, Links::TakeAsTheyAre))
        return ERROR_FILENAME_EXCED_RANGE;
    return CallShell(operation, path, {});
}

// The shell makes nothing out of an empty folder, so that the destination is made before.
int CopyContents(SHFILEOPSTRUCTW& operation, const Text& pattern, const Text& destination) {
    const Text folder = FolderOf(pattern);
    if (!LeadsToFolder(folder + L'\\'))
        return ERROR_PATH_NOT_FOUND;
    if (!FitContentsIntoShell(folder, destination.size(), Links::Follow))
        return ERROR_FILENAME_EXCED_RANGE;
    if (LiesInFolder(destination, folder + L'\\'))
        return ERROR_INVALID_NAME;
    const int error = MakeFolders(destination);
    std::vector<Entry> entries;
    const bool isEmpty = ReadEntries(folder, entries) && entries.empty();
    return error != ERROR_SUCCESS || isEmpty ? error : CallShell(operation, pattern, destination);
}

} // namespace

int RunShellOperation(SHFILEOPSTRUCTW& operation) {
    const Text from = FullPath(operation.pFrom);
    const Text to = operation.pTo != nullptr ? FullPath(operation.pTo) : Text();
    if (from.empty() || (operation.pTo != nullptr && to.empty()))
        return ERROR_INVALID_NAME;
    if (!FitsIntoShell(from.size()) || !FitsIntoShell(to.size()))
        return ERROR_FILENAME_EXCED_RANGE;
    return operation.wFunc == FO_DELETE ? Delete(operation, from) : CopyContents(operation, from, to);
}

} // namespace Vellox::Windows
