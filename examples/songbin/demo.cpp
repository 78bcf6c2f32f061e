#include "demo.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <stdexcept>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
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

// What the steps hand on to each other, in paths of the library.
struct DemoState {
    std::string original;
    std::string scratch;
    std::string song;
    std::string take;
    std::string takeInTrash;
    std::string songInTrash;
};

// ---- The transcript ----

std::string BoolText(bool value) {
    return value ? "true" : "false";
}

// For calls that answer nothing, a look at the path does.
std::string Seen(bool isThere) {
    return isThere ? "it is there" : "it is gone";
}

// The largest value means that nobody knows.
std::string SpaceText(std::int64_t space) {
    return space == std::numeric_limits<std::int64_t>::max() ? "unknown" : FormatSize(space);
}

void Answer(const std::string& call, const std::string& answer) {
    constexpr std::size_t callWidth = 62;
    std::cout << "   " << PadRight(Printable(call), callWidth) << Coloured(Colour::Grey, " => ")
              << Coloured(Colour::Green, Printable(answer)) << '\n';
}

// A path in the scratch place without that place in front.
std::string Short(const DemoState& demo, const std::string& path) {
    const std::string place = demo.scratch + "\\";
    return LocalPath(path.compare(0, place.size(), place) == 0 ? path.substr(place.size()) : path);
}

bool Expect(bool held, const std::string& complaint) {
    if (!held)
        Complain(complaint);
    return held;
}

// ---- The original and the scratch place ----

// From where the program stands: where it was built its sample lies beside it, where it is installed one folder up.
std::string FindSample() {
    const std::string sample = "\\share\\vellox\\songs\\Morning Light";
    const std::string programFolder = FileNames::GetFolderPathFromFilename(FileNames::GetModuleFilename());
    if (IsThere(programFolder + sample))
        return programFolder + sample;
    return FileNames::GetFolderPathFromFilename(programFolder) + sample;
}

std::string FindOriginal(const Operands& folder) {
    const ResolvedPath original = folder.empty() ? ResolvedPath{FindSample(), ""} : ResolvePath(folder.front());
    if (original.path.empty())
        throw std::runtime_error("cannot copy \"" + folder.front() + "\": " + original.problem);
    if (!IsFolder(original.path) || FileNames::GetFilenameWithoutPath(original.path).empty())
        throw std::runtime_error("cannot copy \"" + LocalPath(original.path) + "\": it is not a folder with a name");
    return original.path;
}

// The free name is only a proposal, so another program may make the folder first.
std::string MakeScratchFolder() {
    const std::string temporary = FileNames::GetTempFolderRoot();
    for (int attempt = 0; attempt < 10; ++attempt) {
        std::string folder = FileNames::ComposeNewFolderAndCheckExists(temporary, "songbin demo", "");
        if (!folder.empty() && FileNames::CreateDirectoryA(folder))
            return folder;
    }
    throw std::runtime_error("cannot make a scratch folder in \"" + LocalPath(temporary) + "\"");
}

// ---- Comparing ----

std::vector<std::string> RelativeEntries(const fs::path& folder) {
    std::vector<std::string> entries;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        entries.push_back(entry.path().lexically_relative(folder).u8string());
    std::sort(entries.begin(), entries.end());
    return entries;
}

bool HaveSameBytes(const fs::path& first, const fs::path& second) {
    using Bytes = std::istreambuf_iterator<char>;
    std::ifstream firstFile(first, std::ios::binary);
    std::ifstream secondFile(second, std::ios::binary);
    return firstFile && secondFile && std::equal(Bytes(firstFile), Bytes(), Bytes(secondFile), Bytes());
}

bool AreSame(const fs::path& first, const fs::path& second) {
    if (fs::is_regular_file(first))
        return HaveSameBytes(first, second);
    return fs::is_directory(first) == fs::is_directory(second);
}

// ---- The steps ----

bool CopyTheSong(DemoState& demo) {
    FileNames::CopyFolder(demo.original, demo.song);
    const bool isThere = IsThere(demo.song);
    Answer("CopyFolder(ORIGINAL, " + Short(demo, demo.song) + ")", Seen(isThere));
    return Expect(isThere, "the copy is not there");
}

bool AskWhatItIs(DemoState& demo) {
    const bool isSongFolder = FileNames::IsSongFolder(demo.song);
    Answer("IsSongFolder(" + Short(demo, demo.song) + ")", BoolText(isSongFolder));
    return Expect(isSongFolder == FileNames::IsSongFolder(demo.original), "the copy and the original differ in this");
}

// The folder looked at last gives the take, so a subfolder goes before the song folder itself.
void ShowFiles(DemoState& demo, const std::string& folder) {
    const std::string pattern = FileNames::FormatDirectory(folder);
    std::vector<std::string> files = FileNames::GetFolderFiles(pattern);
    std::sort(files.begin(), files.end());
    Answer("GetFolderFiles(" + Short(demo, pattern) + ")", std::to_string(files.size()) + " found");
    for (const std::string& file : files)
        Answer("IsSongFile(" + file + ")", BoolText(FileNames::IsSongFile(file)));
    if (!files.empty())
        demo.take = JoinPath(folder, files.front());
}

bool LookInside(DemoState& demo) {
    ShowFiles(demo, demo.song);
    const std::string pattern = FileNames::FormatDirectory(demo.song);
    const std::vector<std::string> subfolders = FileNames::GetFolderSubfolders(pattern);
    Answer("GetFolderSubfolders(" + Short(demo, pattern) + ")", std::to_string(subfolders.size()) + " found");
    // A link may lead out of the copy, and the take to throw away must not be the original's own.
    for (const std::string& subfolder : subfolders)
        if (!fs::is_symlink(SystemPath(JoinPath(demo.song, subfolder))))
            ShowFiles(demo, JoinPath(demo.song, subfolder));
    return Expect(!demo.take.empty(), "there is no file in the folder to try the trash with");
}

bool AskForSpace(DemoState& demo) {
    const std::int64_t space = FileNames::GetAvailableSpace(demo.song);
    Answer("GetAvailableSpace(" + Short(demo, demo.song) + ")", SpaceText(space));
    return Expect(space != std::numeric_limits<std::int64_t>::max(), "the free space is not known");
}

bool RelateTakes(DemoState& demo) {
    const std::string songFile = JoinPath(demo.song, "Song.sng");
    std::string relative;
    const bool isRelated = FileNames::GetPathRelativeToOtherFile(relative, songFile, demo.take) == 1;
    Answer("GetPathRelativeToOtherFile(" + Short(demo, songFile) + ", take)", LocalPath(relative));
    const std::string again = FileNames::GetAbsolutePath(relative, demo.song.c_str());
    Answer("GetAbsolutePath(that, " + Short(demo, demo.song) + ")", Short(demo, again));
    return Expect(isRelated && FileNames::CompareNormalizedPaths(again, demo.take), "the take is not found this way");
}

bool NameAMixDown(DemoState& /*demo*/) {
    const std::string mixDown = FileNames::GetTempFilename("mix");
    const bool isThere = !mixDown.empty() && IsThere(mixDown);
    Answer("GetTempFilename(mix)", FileNames::GetFilenameWithoutPath(mixDown) + ", " + Seen(isThere));
    std::error_code error;
    return Expect(isThere && fs::remove(SystemPath(mixDown), error), "there is no file for a mix-down");
}

bool MoveIntoTrash(const DemoState& demo, const std::string& path, bool isLast, std::string& inTrash) {
    const std::vector<std::string> before = TrashItems();
    FileNames::DeleteFileToRecycleBin(path, isLast);
    const std::vector<std::string> after = TrashItems();
    const bool isThere = IsThere(path);
    Answer("DeleteFileToRecycleBin(" + Short(demo, path) + ", " + BoolText(isLast) + ")", Seen(isThere));
    std::vector<std::string> added;
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(added));
    if (added.size() == 1)
        inTrash = TrashPath(added.front());
    return Expect(!isThere && !inTrash.empty(), LocalPath(path) + " did not go into the trash");
}

bool ThrowAway(DemoState& demo) {
    MakeHomeFolder();
    return MoveIntoTrash(demo, demo.take, false, demo.takeInTrash) &&
           MoveIntoTrash(demo, demo.song, true, demo.songInTrash);
}

bool ListTheTrash(DemoState& demo) {
    Answer("GetTrashFolderPath()", Short(demo, TrashFolder()));
    for (const std::string& item : TrashItems())
        Answer("CanPutBack(" + item + ")", BoolText(FileNames::CanPutBack(TrashPath(item))));
    return Expect(FileNames::CanPutBack(demo.takeInTrash) && FileNames::CanPutBack(demo.songInTrash),
                  "the trash does not know where the items came from");
}

bool PutItemBack(const std::string& inTrash, const std::string& oldPlace) {
    const bool isTried = FileNames::PutBack(inTrash);
    const bool isThere = IsThere(oldPlace);
    Answer("PutBack(" + FileNames::GetFilenameWithoutPath(inTrash) + ")", BoolText(isTried) + ", " + Seen(isThere));
    return Expect(isTried && isThere && !IsThere(inTrash), LocalPath(inTrash) + " did not go back");
}

// The take left the folder first, so its old place is there again only with the folder.
bool PutBothBack(DemoState& demo) {
    return PutItemBack(demo.songInTrash, demo.song) && PutItemBack(demo.takeInTrash, demo.take);
}

bool CompareWithOriginal(DemoState& demo) {
    const fs::path original = SystemPath(demo.original);
    const fs::path copy = SystemPath(demo.song);
    const std::vector<std::string> entries = RelativeEntries(original);
    if (!Expect(entries == RelativeEntries(copy), "the copy does not hold the same names as the original"))
        return false;
    for (const std::string& entry : entries) {
        const bool isSame = AreSame(original / fs::u8path(entry), copy / fs::u8path(entry));
        Answer(entry, isSame ? "same as the original" : "differs from the original");
        if (!isSame)
            return false;
    }
    return true;
}

bool CleanUp(DemoState& demo) {
    FileNames::DeleteFolderWithContents(demo.scratch.c_str(), false, true);
    const bool isThere = IsThere(demo.scratch);
    Answer("DeleteFolderWithContents(SCRATCH PLACE, false, true)", Seen(isThere));
    return Expect(!isThere, LocalPath(demo.scratch) + " is still there");
}

struct Step {
    const char* title;
    bool (*run)(DemoState& demo);
};

constexpr Step trials[] = {
    {"Copy the song folder into the scratch place", CopyTheSong},
    {"Ask whether it is a song folder", AskWhatItIs},
    {"Look inside, and ask which files are songs", LookInside},
    {"Ask for the free space", AskForSpace},
    {"Name a take by its way from the song file", RelateTakes},
    {"Make a file for a mix-down", NameAMixDown},
    {"Move a take, then the whole folder into the trash", ThrowAway},
    {"List the trash", ListTheTrash},
    {"Put both back, the folder first", PutBothBack},
    {"Compare with the original, byte for byte", CompareWithOriginal},
};
constexpr Step lastStep = {"Remove the scratch place for good", CleanUp};

// A step that throws has failed like any other, and the scratch place is removed all the same.
bool RunStep(int number, const Step& step, DemoState& demo) {
    std::cout << '\n' << Bold(std::to_string(number) + ". " + step.title) << '\n';
    try {
        if (step.run(demo))
            return true;
    } catch (const std::exception& exception) {
        Complain(exception.what());
    }
    Complain("step " + std::to_string(number) + " failed: " + step.title);
    return false;
}

} // namespace

bool Demo(const Request& request) {
    DemoState demo;
    demo.original = FindOriginal(request.operands);
    demo.scratch = MakeScratchFolder();
    demo.song = JoinPath(demo.scratch, FileNames::GetFilenameWithoutPath(demo.original));
    const bool hasOwnTrash = ChooseDataFolder(LocalPath(demo.scratch));
    std::cout << "Original       " << Printable(LocalPath(demo.original)) << "\nScratch place  "
              << Printable(LocalPath(demo.scratch)) << "\nTrash          "
              << (hasOwnTrash ? "in the scratch place" : "the one of the user") << '\n';
    int number = 0;
    bool isAllHeld = true;
    for (const Step& step : trials)
        isAllHeld = isAllHeld && RunStep(++number, step, demo);
    isAllHeld = RunStep(++number, lastStep, demo) && isAllHeld;
    std::cout << '\n' << (isAllHeld ? "Every check held." : "A check did not hold.") << '\n';
    return isAllHeld;
}

} // namespace songbin
