#include "vellox/trash.h"

#include <optional>
#include <string_view>
#include <utility>

#include "filesystem/free_names.h"
#include "filesystem/queries.h"
#include "frame/text.h"
#include "pathtext/join.h"
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

// Known while a batch goes on, which ends with the call that saves the catalogue.
std::optional<bool> batchMeetsLink;

bool HasLinkOnTheWay(const std::string& folder) {
    for (std::size_t end = folder.size(); end != std::string::npos; end = FindLastSeparator(folder.substr(0, end)))
        if (IsLink(folder.substr(0, end)))
            return true;
    return false;
}

// A link on the way to the trash would be moved behind itself; a folder there stays in any case.
bool LeadsToTrash(const std::string& item, const std::string& name, const std::string& trashFolder) {
    return batchMeetsLink.value_or(true) && IsLink(item) &&
           Platform::LiesInFolder(WideArgument(JoinFolder(trashFolder, name)).c_str(), WideArgument(item).c_str());
}

// Gives where the item now lies, or would lie if it could be moved.
std::string MoveToTrash(const std::string& item, const std::string& trashFolder, const std::string& name) {
    const bool hasToStay = LeadsToTrash(item, name, trashFolder);
    std::string trashPath = JoinFolder(trashFolder, name);
    // The plain name is free nearly always, and the rename itself tells. Only ASCII is one name on every route.
    if (!hasToStay && !IsCatalogueName(name) && IsAscii(trashPath) &&
        Platform::RenameWithoutReplacing(item.c_str(), trashPath.c_str()) == 0)
        return trashPath;
    while (true) {
        trashPath = ComposeTrashPath(trashFolder, name);
        // What has to stay at its place does not lie in the trash as well.
        const MoveResult result =
            hasToStay ? MoveResult::Failed : MoveFileOrFolder(item, trashPath, CopyOfWhatStays::TakeBack);
        // Another process was faster with that name, and the entry of that name is the one of its item.
        if (result == MoveResult::DestinationTaken)
            continue;
        if (result == MoveResult::Failed && !CheckFolderExists(trashFolder) && CreateDirectoryA(trashFolder))
            continue;
        return trashPath;
    }
}

void SaveCatalogue() {
    trashCatalogue.Save();
    batchMeetsLink.reset();
}

} // namespace

std::string GetTrashFolderPath() {
    return JoinFolder(GetHomeFolderBase(), "Trash");
}

void DeleteFileToRecycleBin(std::string path, bool updateCatalogueFile) {
    const std::string trashFolder = GetTrashFolderPath();
    const std::string item(WithoutTrailingSeparators(UpToNul(path)));
    const std::string_view name = ItemName(item);
    // It may be the catalogue itself, in any spelling; it is read before it goes, as it could not be later.
    if (IsCatalogueName(name))
        updateCatalogueFile = true;
    if (updateCatalogueFile)
        trashCatalogue.Load(trashFolder);
    else if (!batchMeetsLink)
        batchMeetsLink = HasLinkOnTheWay(trashFolder);
    if (!name.empty()) {
        std::string trashPath = MoveToTrash(item, trashFolder, std::string(name));
        trashCatalogue.Add(std::move(trashPath), std::move(path));
    }
    if (updateCatalogueFile)
        SaveCatalogue();
}

bool CanPutBack(std::string trashPath) {
    trashCatalogue.Load(GetTrashFolderPath());
    std::string restorePath;
    const bool isKnown = trashCatalogue.FindRestorePath(trashPath, restorePath);
    SaveCatalogue();
    return isKnown;
}

bool PutBack(std::string trashPath) {
    trashCatalogue.Load(GetTrashFolderPath());
    std::string restorePath;
    const bool isCatalogue = IsCatalogueName(GetFilenameWithoutPath(trashPath));
    bool isDone = !isCatalogue && trashCatalogue.FindRestorePath(trashPath, restorePath);
    if (isDone) {
        const std::string destination(WithoutTrailingSeparators(UpToNul(restorePath)));
        isDone = MoveFileOrFolder(trashPath, destination, CopyOfWhatStays::Keep) != MoveResult::DestinationTaken;
        if (isDone)
            trashCatalogue.Remove(trashPath);
    }
    SaveCatalogue();
    return isDone;
}

} // namespace Vellox::FileNames
