#include "commands.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/processes.h>
#include <vellox/songs.h>
#include <vellox/trash.h>

#include "display.h"
#include "paths.h"
#include "system.h"
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

// ---- open ----

constexpr std::int32_t openTimeout = 3000; // milliseconds

// As one word of a command line, for the system's rules: a backslash escapes only in front of a double quote.
std::string QuotedWord(const std::string& word) {
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char character : word) {
        if (character == '"')
            quoted.append(backslashes + 1, '\\');
        backslashes = character == '\\' ? backslashes + 1 : 0;
        quoted += character;
    }
    return quoted.append(backslashes, '\\') + '"';
}

std::string OpenerProgram() {
    const char* chosen = std::getenv("SONGBIN_OPENER");
    return chosen != nullptr && *chosen != '\0' ? chosen : DefaultOpener();
}

std::string OpenPath(const std::string& typed) {
    const ResolvedPath resolved = ResolvePath(typed);
    if (resolved.path.empty())
        return resolved.problem;
    if (!IsThere(resolved.path))
        return "does not exist";
    const std::string program = OpenerProgram();
    Operands words = {QuotedWord(program), QuotedWord(LocalPath(resolved.path))};
    void* process = FileNames::LaunchProcess(program, words);
    if (process == nullptr)
        return "could not be opened, as " + program + " does not start";
    const bool hasEnded = FileNames::WaitForProcess(process, openTimeout) == 1;
    CloseProcess(process);
    std::cout << Printable(LocalPath(resolved.path)) << ": " << program
              << (hasEnded ? " has ended\n" : " is still running\n");
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

bool Relative(const Operands& fromAndTo) {
    const ResolvedPath from = ResolvePath(fromAndTo[0]);
    const ResolvedPath to = ResolvePath(fromAndTo[1]);
    std::string relative;
    const bool isRelated = !from.path.empty() && !to.path.empty() &&
                           FileNames::GetPathRelativeToOtherFile(relative, from.path, to.path) == 1;
    if (!isRelated)
        ComplainAbout(fromAndTo[1], "cannot be expressed relative to " + fromAndTo[0]);
    else
        std::cout << Printable(LocalPath(relative)) << '\n';
    return isRelated;
}

bool Absolute(const Operands& pathAndBase) {
    const bool hasBase = pathAndBase.size() == 2;
    const std::string base = hasBase ? ResolvePath(pathAndBase[1]).path : "";
    const std::string path = LibrarySpelling(pathAndBase[0]);
    const std::string absolute = FileNames::GetAbsolutePath(path, hasBase ? base.c_str() : nullptr);
    if (absolute.empty() || (hasBase && base.empty())) {
        ComplainAbout(pathAndBase[0], "cannot be made absolute");
        return false;
    }
    std::cout << Printable(LocalPath(absolute)) << '\n';
    return true;
}

bool Open(const Operands& paths) {
    return DoEach(paths, OpenPath);
}

} // namespace songbin
