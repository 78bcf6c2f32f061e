#include "vellox/trash.h"

#include <optional>
#include <string_view>
#include <utility>

#include "filesystem/free_names.h"
#include "filesystem/queries.h"
#include "frame/text.h"
#include "pathtext/join.h"
#include "platform/guard.h"
#include "platform/operations.h"
#include "trash/catalogue.h"
#include "trash/move.h"
#include "vellox/filesystem.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

constexpr std::string_view separators = "\\/";

std::string_view WithoutTrailingSeparators(std::string_view path) {
    return path.substr(0, path.find_last_not_of(separators) + 1);
}

bool IsOnShare(std::string_view path) {
    return path.find_first_not_of(separators) >= 2 && path.size() > 2;
}

bool IsLetter(char character) {
    return FoldCase(character) >= 'a' && FoldCase(character) <= 'z';
}

// `\\server` and `\\server\share` hold items and are none.
bool NamesShareItself(std::string_view path) {
    if (!IsOnShare(path))
        return false;
    const std::size_t serverEnd = path.find_first_of(separators, 2);
    return serverEnd == std::string_view::npos ||
           path.find_first_of(separators, serverEnd + 1) == std::string_view::npos;
}

// The name of an item, by which it goes into the trash; empty if the path names none.
std::string_view ItemName(std::string_view path) {
    if (NamesShareItself(path))
        return {};
    std::string_view name = path.substr(FindLastSeparator(path) + 1);
    const bool startsWithDrive = name.size() == path.size() && name.size() >= 2 && name[1] == ':' && IsLetter(name[0]);
    if (startsWithDrive)
        name.remove_prefix(2);
    return name == "." || name == ".." ? std::string_view() : name;
}

bool IsCatalogueName(std::string_view name) {
    return EqualsIgnoringCase(name, catalogueName);
}

// The catalogue's name is never free: a save would write over the item.
bool IsTakenInTrash(const std::string& path) {
    return IsCatalogueName(GetFilenameWithoutPath(path)) || IsTaken(path);
}

std::string ComposeTrashPath(const std::string& trashFolder, std::string name) {
    std::string extension = GetExtension(name);
    if (extension == name)
        return ComposeFreeName(JoinFolder(trashFolder, name), "", "", IsTakenInTrash);
    const std::string stem = ExtensionChange(std::move(name), "");
    return ComposeFreeName(JoinFolder(trashFolder, stem), extension, "", IsTakenInTrash);
}

bool MakeMissingFolder(const std::string& folder) {
    return !CheckFolderExists(folder) && (CreateDirectoryA(folder) || CheckFolderExists(folder));
}

bool HasLinkOnTheWay(const std::string& folder) {
    for (std::size_t end = folder.size(); end != std::string::npos; end = FindLastSeparator(folder.substr(0, end)))
        if (IsLink(folder.substr(0, end)))
            return true;
    return false;
}

// What the calls of a batch know together, from the first that leaves its record waiting to the save of all of them.
class Batch {
public:
    // The way to the trash is looked at once.
    bool MeetsLink(const std::string& trashFolder) {
        if (!meetsLink_)
            meetsLink_ = HasLinkOnTheWay(trashFolder);
        return *meetsLink_;
    }
    void End() { meetsLink_.reset(); }

private:
    std::optional<bool> meetsLink_;
};
Batch batch;

struct TurnTraits {
    using Value = HANDLE;
    static HANDLE None() { return INVALID_HANDLE_VALUE; }
    static void GiveBack(HANDLE turn) { Platform::EndTurn(turn); }
};

// The time from a load of the catalogue to its save, in which no other process saves: each writes the file whole, and
// so would write over the records that another one has saved in between. Whoever does not get a turn goes on without,
// as the process that has it may have been stopped.
class CatalogueTurn {
public:
    enum class IfMissing { MakeFolder, GoOnWithout };
    CatalogueTurn(std::string folder, IfMissing ifMissing) : folder_(std::move(folder)) {
        Begin();
        if (!turn_ && ifMissing == IfMissing::MakeFolder && MakeMissingFolder(folder_))
            Begin();
        trashCatalogue.Load(folder_);
        batch.End();
    }

    // Lets others have their turn while the work goes on. What the catalogue knew is to be asked again after it.
    template <typename Work> auto Interrupt(Work work) {
        trashCatalogue.Forget();
        turn_ = {};
        auto result = work();
        Begin();
        trashCatalogue.Load(folder_);
        return result;
    }

private:
    void Begin() {
        constexpr DWORD longestWait = 2000; // milliseconds
        turn_ = Guard<TurnTraits>(Platform::TakeTurn(WideArgument(folder_).c_str(), longestWait));
    }

    std::string folder_;
    Guard<TurnTraits> turn_;
};

// Such a link cannot be moved: its new place would be one that only the link itself leads to.
bool IsLinkToTrash(const std::string& item, const std::string& trashFolder, const std::string& name) {
    return IsLink(item) &&
           Platform::LiesInFolder(WideArgument(JoinFolder(trashFolder, name)).c_str(), WideArgument(item).c_str());
}

using Move = MoveResult(const std::string& source, const std::string& destination);

MoveResult MoveWhole(const std::string& source, const std::string& destination) {
    return MoveFileOrFolder(source, destination, CopyOfWhatStays::TakeBack);
}

struct Placement {
    MoveResult result;
    std::string trashPath; // where the item now lies, or would lie if it could be moved
};

// Moves the item under the first name that is free.
Placement PlaceInTrash(const std::string& item, const std::string& trashFolder, const std::string& name, Move move) {
    Placement placement = {MoveResult::DestinationTaken, JoinFolder(trashFolder, name)};
    // The plain name is free nearly always, and the move itself tells. Only ASCII is one name on every route.
    if (!IsCatalogueName(name) && IsAscii(placement.trashPath))
        placement.result = move(item, placement.trashPath);
    while (true) {
        // Another process can take a name right after it was found free.
        if (placement.result == MoveResult::DestinationTaken)
            placement.trashPath = ComposeTrashPath(trashFolder, name);
        else if (placement.result != MoveResult::Failed || !MakeMissingFolder(trashFolder))
            return placement;
        placement.result = move(item, placement.trashPath);
    }
}

// The record waits for the turn of another call.
void TrashInBatch(std::string path, const std::string& item, const std::string& name, const std::string& trashFolder) {
    const bool hasToStay = batch.MeetsLink(trashFolder) && IsLinkToTrash(item, trashFolder, name);
    trashCatalogue.Add(hasToStay ? ComposeTrashPath(trashFolder, name)
                                 : PlaceInTrash(item, trashFolder, name, MoveWhole).trashPath,
                       std::move(path));
}

void TrashAndSave(std::string path, const std::string& item, const std::string& name, const std::string& trashFolder) {
    CatalogueTurn turn(trashFolder, CatalogueTurn::IfMissing::MakeFolder);
    Placement placement = {MoveResult::Failed, {}};
    if (!IsLinkToTrash(item, trashFolder, name))
        placement = PlaceInTrash(item, trashFolder, name, RenameFileOrFolder);
    if (placement.result == MoveResult::TakesCopy)
        placement = turn.Interrupt([&] { return PlaceInTrash(item, trashFolder, name, MoveWhole); });
    // The record of an item that stayed does not take the place of that of another one, which came meanwhile.
    if (placement.result != MoveResult::Moved)
        placement.trashPath = ComposeTrashPath(trashFolder, name);
    trashCatalogue.Add(std::move(placement.trashPath), std::move(path));
    trashCatalogue.Save();
}

void SaveWhatWaits(const std::string& trashFolder) {
    const CatalogueTurn turn(trashFolder, CatalogueTurn::IfMissing::GoOnWithout);
    trashCatalogue.Save();
}

} // namespace

std::string GetTrashFolderPath() {
    return JoinFolder(GetHomeFolderBase(), "Trash");
}

void DeleteFileToRecycleBin(std::string path, bool updateCatalogueFile) {
    const std::string trashFolder = GetTrashFolderPath();
    const std::string item(WithoutTrailingSeparators(UpToNul(path)));
    const std::string name(ItemName(item));
    if (name.empty()) {
        if (updateCatalogueFile)
            SaveWhatWaits(trashFolder);
        return;
    }
    // An item of the catalogue's name may be the catalogue, which is read before it goes, as it could not be later.
    if (updateCatalogueFile || IsCatalogueName(name))
        TrashAndSave(std::move(path), item, name, trashFolder);
    else
        TrashInBatch(std::move(path), item, name, trashFolder);
}

bool CanPutBack(std::string trashPath) {
    const CatalogueTurn turn(GetTrashFolderPath(), CatalogueTurn::IfMissing::GoOnWithout);
    std::string restorePath;
    const bool isKnown = trashCatalogue.FindRestorePath(trashPath, restorePath);
    trashCatalogue.Save();
    return isKnown;
}

bool PutBack(std::string trashPath) {
    CatalogueTurn turn(GetTrashFolderPath(), CatalogueTurn::IfMissing::GoOnWithout);
    const std::optional<TrashEntry> entry = trashCatalogue.Find(trashPath);
    const bool isCatalogue = IsCatalogueName(GetFilenameWithoutPath(trashPath));
    bool isDone = entry && !entry->restorePath.empty() && !isCatalogue;
    if (isDone) {
        const std::string destination(WithoutTrailingSeparators(UpToNul(entry->restorePath)));
        MoveResult result = RenameFileOrFolder(trashPath, destination);
        if (result == MoveResult::TakesCopy)
            result = turn.Interrupt([&] { return MoveFileOrFolder(trashPath, destination, CopyOfWhatStays::Keep); });
        isDone = result != MoveResult::DestinationTaken;
        // Another item can have come to the same place in the trash since.
        if (isDone && trashCatalogue.Find(trashPath) == entry)
            trashCatalogue.Remove(trashPath);
    }
    trashCatalogue.Save();
    return isDone;
}

} // namespace Vellox::FileNames
