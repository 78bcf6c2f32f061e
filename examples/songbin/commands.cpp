#include "commands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/songs.h>
#include <vellox/trash.h>

#include "display.h"
#include "paths.h"
#include "trashfolder.h"

namespace fs = std::filesystem;
namespace FileNames = Vellox::FileNames;

namespace songbin {
namespace {

std::string YesNo(bool value) {
    return value ? "yes" : "no";
}

void ComplainAbout(const std::string& operand, const std::string& problem) {
    Complain("\"" + operand + "\" " + problem);
}

// The work gives what is wrong, or the empty string if it is done. So do all functions here that give a problem.
bool DoEach(const Operands& operands, std::string (*work)(const std::string& operand)) {
    bool isAllDone = true;
    for (const std::string& operand : operands) {
        const std::string problem = work(operand);
        if (problem.empty())
            continue;
        ComplainAbout(operand, problem);
        isAllDone = false;
    }
    return isAllDone;
}

// ---- put ----

// The library takes UTF-8 and the system any bytes, so something can stand there that only the system sees.
std::string ExplainMissing(const std::string& path) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(SystemPath(path), error)))
        return "is there, but the library cannot name it: only names in UTF-8 can go into the trash";
    return "does not exist";
}

std::string MoveIntoTrash(const std::string& typed, bool isLastOfBatch) {
    const ResolvedPath resolved = ResolvePath(typed);
    if (resolved.path.empty())
        return resolved.problem;
    if (!IsThere(resolved.path))
        return ExplainMissing(resolved.path);
    FileNames::DeleteFileToRecycleBin(resolved.path, isLastOfBatch);
    if (IsThere(resolved.path))
        return "is still there; it could not be moved into " + LocalPath(TrashFolder());
    return {};
}

// ---- list ----

std::string SizeColumn(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(SystemPath(path), error);
    return error ? "-" : FormatSize(static_cast<std::int64_t>(size));
}

std::vector<std::string> ListRow(const std::string& item) {
    const std::string path = TrashPath(item);
    const bool isFolder = IsFolder(path);
    return {isFolder ? "folder" : "file", isFolder ? "-" : SizeColumn(path), YesNo(FileNames::CanPutBack(path)),
            Printable(item)};
}

// ---- restore ----

std::string ExplainRefusal(const std::string& trashPath) {
    if (!FileNames::CanPutBack(trashPath))
        return "has no record of where it came from; it stays at " + LocalPath(trashPath);
    return "stays in the trash, as something stands at its old place";
}

// The library's answer alone does not tell whether the item went back.
std::string PutItemBack(const std::string& name) {
    const std::vector<std::string> items = TrashItems();
    const std::string trashPath = TrashPath(name);
    if (std::find(items.begin(), items.end(), name) == items.end())
        return "is not in the trash";
    const bool isTried = FileNames::PutBack(trashPath);
    const bool isStillThere = IsThere(trashPath);
    if (!isTried)
        return isStillThere ? ExplainRefusal(trashPath) : "went out of the trash by another hand";
    if (isStillThere)
        return "could not be moved to its old place, and the record of that place is gone; it is at " +
               LocalPath(trashPath);
    std::cout << Printable(name) << " is back at its old place\n";
    return {};
}

// ---- info ----

std::string SongColumn(const std::string& path) {
    if (FileNames::IsSongFolder(path))
        return "song folder";
    return FileNames::IsSongFile(path) ? "song file, by its name" : "no";
}

std::string ExtensionColumn(std::string path) {
    const std::string extension = FileNames::GetExtension(path);
    return extension == path ? "none" : Printable(extension);
}

std::string PrintInfo(const std::string& typed) {
    ResolvedPath resolved = ResolvePath(typed);
    if (resolved.path.empty())
        return resolved.problem;
    std::string& path = resolved.path;
    const bool isFolder = IsFolder(path);
    const std::string folderPart = FileNames::GetPathWithoutFilename(path);
    const std::int64_t space = FileNames::GetAvailableSpace(isFolder ? path : folderPart);
    std::vector<std::vector<std::string>> rows = {
        {"Exists", YesNo(IsThere(path))},
        {"Folder", YesNo(isFolder)},
        {"Song", SongColumn(path)},
        {"Extension", ExtensionColumn(path)},
        {"Folder part", Printable(LocalPath(folderPart))},
        {"Drive", FileNames::GetPathRoot(path)},
        {"Free space", FormatAvailableSpace(space)},
    };
    if (isFolder)
        rows.push_back({"Empty", YesNo(FileNames::IsFolderEmpty(FileNames::FormatDirectory(path)))});
    std::cout << Printable(LocalPath(path)) << '\n';
    PrintTable(rows, "  ");
    return {};
}

} // namespace

bool Put(const Operands& paths) {
    MakeHomeFolder();
    const Progress progress(paths.size());
    std::size_t moved = 0;
    for (std::size_t index = 0; index < paths.size(); ++index) {
        progress.Show(index);
        const std::string problem = MoveIntoTrash(paths[index], index + 1 == paths.size());
        if (problem.empty()) {
            ++moved;
            continue;
        }
        progress.Clear();
        ComplainAbout(paths[index], problem);
    }
    progress.Clear();
    // The last path closes the batch, unless it never reached the library; then any question writes what waits.
    if (moved < paths.size())
        FileNames::CanPutBack(TrashFolder());
    std::cout << moved << (moved == 1 ? " item" : " items") << " moved into the trash\n";
    return moved == paths.size();
}

bool List(const Operands& /*none*/) {
    const std::vector<std::string> items = TrashItems();
    if (items.empty()) {
        std::cout << "The trash is empty.\n";
        return true;
    }
    std::vector<std::vector<std::string>> rows = {{"KIND", "SIZE", "CAN GO BACK", "NAME"}};
    for (const std::string& item : items)
        rows.push_back(ListRow(item));
    PrintTable(rows, "");
    return true;
}

bool Restore(const Operands& names) {
    return DoEach(names, PutItemBack);
}

bool Info(const Operands& paths) {
    return DoEach(paths, PrintInfo);
}

} // namespace songbin
