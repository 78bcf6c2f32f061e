#include "commands.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/processes.h>
#include <vellox/trash.h>

#include "display.h"
#include "paths.h"
#include "system.h"
#include "trashfolder.h"

namespace fs = std::filesystem;
namespace FileNames = Vellox::FileNames;

namespace songbin {
namespace {

// ---- Batches ----

// When the records of a long batch are written in between. A process that is killed loses those that wait, while their
// items are in the trash; one that is killed while it writes can lose more, so it does not write for every item.
class SavePace {
public:
    bool IsDue() {
        const Clock::time_point now = Clock::now();
        if (++items_ < itemsBetweenSaves && now < last_ + timeBetweenSaves)
            return false;
        items_ = 0;
        last_ = now;
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t itemsBetweenSaves = 1000;
    static constexpr std::chrono::seconds timeBetweenSaves{1};

    std::size_t items_ = 0;
    Clock::time_point last_ = Clock::now();
};

// Gives how many were done; an interrupt ends the batch after the item in hand. The work gives what is wrong, or the
// empty string; so do all functions that give a problem.
std::size_t DoBatch(const Operands& operands, const Attempt& attempt,
                    std::string (*work)(const std::string& operand, bool savesRecords)) {
    NoteInterrupts();
    Progress progress(operands.size());
    SavePace pace;
    std::size_t done = 0;
    for (std::size_t index = 0; index < operands.size(); ++index) {
        if (IsInterrupted()) {
            progress.Clear();
            Complain("interrupted, " + CountItems(operands.size() - index) + " left where they are");
            break;
        }
        progress.Show(index);
        const bool isLast = index + 1 == operands.size();
        const std::string problem = work(operands[index], pace.IsDue() || isLast);
        if (problem.empty()) {
            ++done;
            continue;
        }
        progress.Clear();
        ComplainAbout(attempt, operands[index], problem);
    }
    return done;
}

// ---- put ----

// Whoever moved it would stand in the trash, and every relative path with him.
bool HoldsCurrentFolder(const fs::path& path) {
    std::error_code error;
    if (fs::symlink_status(path, error).type() != fs::file_type::directory)
        return false;
    fs::path folder = fs::current_path(error);
    while (!fs::equivalent(folder, path, error) && folder != folder.parent_path())
        folder = folder.parent_path();
    return fs::equivalent(folder, path, error);
}

std::string MoveIntoTrash(const std::string& typed, bool savesRecords) {
    const ResolvedPath resolved = ResolvePath(typed);
    if (resolved.path.empty())
        return resolved.problem;
    if (!IsThere(resolved.path))
        return ExplainMissing(resolved.path);
    if (HoldsCurrentFolder(SystemPath(resolved.path)))
        return "it is the current folder or holds it";
    FileNames::DeleteFileToRecycleBin(resolved.path, savesRecords);
    if (IsThere(resolved.path))
        return "it is still at " + LocalPath(resolved.path) + " and could not be moved to " + LocalPath(TrashFolder());
    return {};
}

// ---- restore ----

std::string ExplainRefusal(const std::string& trashPath) {
    if (!FileNames::CanPutBack(trashPath))
        return "there is no record of where it came from; it stays at " + LocalPath(trashPath);
    return "something stands at its old place; it stays at " + LocalPath(trashPath);
}

// The library's answer alone does not tell whether the item went back.
std::string PutItemBack(const std::string& name, bool /*savesRecords*/) {
    const std::string trashPath = TrashPath(name);
    if (!IsTrashItem(name))
        return "there is no such item in " + LocalPath(TrashFolder());
    const bool isTried = FileNames::PutBack(trashPath);
    const bool isStillThere = IsThere(trashPath);
    if (!isTried)
        return isStillThere ? ExplainRefusal(trashPath) : "it went out of the trash by another hand";
    if (isStillThere)
        return "it could not be moved to its old place, and the record of that place is gone; it is at " +
               LocalPath(trashPath);
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
        return ExplainMissing(resolved.path);
    const std::string program = OpenerProgram();
    Operands words = {QuotedWord(program), QuotedWord(LocalPath(resolved.path))};
    void* process = FileNames::LaunchProcess(program, words);
    if (process == nullptr)
        return "the program " + program + " does not start";
    const bool hasEnded = FileNames::WaitForProcess(process, openTimeout) == 1;
    CloseProcess(process);
    std::cout << Printable(LocalPath(resolved.path)) << ": " << program
              << (hasEnded ? " has ended\n" : " is still running\n");
    return {};
}

} // namespace

void ComplainAbout(const Attempt& attempt, const std::string& operand, const std::string& problem) {
    Complain("cannot " + std::string(attempt.verb) + " \"" + operand + "\"" + attempt.rest + ": " + problem);
}

// The library takes UTF-8 and the system any bytes, so something can stand there that only the system sees.
std::string ExplainMissing(const std::string& path) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(SystemPath(path), error)))
        return "the library cannot name it: it takes names in UTF-8 only";
    return "there is nothing at " + LocalPath(path);
}

bool Put(const Request& request) {
    MakeHomeFolder();
    const std::size_t moved = DoBatch(request.operands, {"move", " into the trash"}, MoveIntoTrash);
    // The last path closes the batch, unless it never reached the library; then any question writes what waits.
    if (moved < request.operands.size())
        FileNames::CanPutBack(TrashFolder());
    std::cout << CountItems(moved) << " moved into the trash\n";
    return moved == request.operands.size();
}

bool Restore(const Request& request) {
    const std::size_t restored = DoBatch(request.operands, {"put", " back"}, PutItemBack);
    std::cout << CountItems(restored) << " put back\n";
    return restored == request.operands.size();
}

bool Relative(const Request& request) {
    const std::string& typedFrom = request.operands[0];
    const std::string& typedTo = request.operands[1];
    const ResolvedPath from = ResolvePath(typedFrom);
    const ResolvedPath to = ResolvePath(typedTo);
    std::string relative;
    std::string problem = from.path.empty() ? "\"" + typedFrom + "\": " + from.problem : to.problem;
    if (problem.empty() && FileNames::GetPathRelativeToOtherFile(relative, from.path, to.path) != 1)
        problem = "they have no folder in common, or one is too long";
    if (!problem.empty())
        ComplainAbout({"express", (" relative to \"" + typedFrom + "\"").c_str()}, typedTo, problem);
    else
        std::cout << Printable(LocalPath(relative)) << '\n';
    return problem.empty();
}

bool Absolute(const Request& request) {
    const Operands& pathAndBase = request.operands;
    const bool hasBase = pathAndBase.size() == 2;
    const std::string base = hasBase ? ResolvePath(pathAndBase[1]).path : "";
    const std::string path = LibrarySpelling(pathAndBase[0]);
    const std::string absolute = FileNames::GetAbsolutePath(path, hasBase ? base.c_str() : nullptr);
    if (absolute.empty() || (hasBase && base.empty())) {
        ComplainAbout({"make", " absolute"}, pathAndBase[0], "it or its base names nothing or is too long");
        return false;
    }
    std::cout << Printable(LocalPath(absolute)) << '\n';
    return true;
}

bool Open(const Request& request) {
    bool isAllDone = true;
    for (const std::string& typed : request.operands) {
        const std::string problem = OpenPath(typed);
        if (problem.empty())
            continue;
        ComplainAbout({"open", ""}, typed, problem);
        isAllDone = false;
    }
    return isAllDone;
}

} // namespace songbin
