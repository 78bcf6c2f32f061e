// The commands that only look: list and info.

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <limits>
#include <numeric>
#include <optional>
#include <system_error>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/songs.h>
#include <vellox/trash.h>

#include "commands.h"
#include "display.h"
#include "json.h"
#include "paths.h"
#include "system.h"
#include "trashfolder.h"

namespace fs = std::filesystem;
namespace FileNames = Vellox::FileNames;

namespace songbin {
namespace {

using Size = std::optional<std::int64_t>;

std::string YesNo(bool value) {
    return value ? "yes" : "no";
}

std::string SizeText(Size size) {
    return size ? FormatSize(*size) : "-";
}

std::string TimeText(std::optional<std::time_t> time) {
    return time ? FormatTime(*time) : "-";
}

// ---- Facts of the disk ----

Size FileSize(const fs::path& path) {
    std::error_code error;
    if (fs::symlink_status(path, error).type() != fs::file_type::regular)
        return std::nullopt;
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? std::nullopt : Size(static_cast<std::int64_t>(size));
}

// What cannot be read does not count.
std::int64_t FolderSize(const fs::path& folder) {
    std::int64_t sum = 0;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error))
        sum += FileSize(entry->path()).value_or(0);
    return sum;
}

bool IsLink(const fs::path& path) {
    std::error_code error;
    return fs::is_symlink(path, error);
}

// A link counts for nothing, whatever it leads to.
Size SizeOf(const std::string& path, bool isFolder) {
    const fs::path systemPath = SystemPath(path);
    return isFolder && !IsLink(systemPath) ? FolderSize(systemPath) : FileSize(systemPath);
}

// ---- list ----

struct Item {
    std::string name;
    std::string path;
    bool isFolder;
    bool canGoBack;
    Size size;
    std::optional<std::time_t> modified;
};

Item LookAtItem(const std::string& name, const KnownItems& known) {
    const std::string path = TrashPath(name);
    const bool isFolder = IsFolder(path);
    return {name, path, isFolder, known.count(path) != 0, SizeOf(path, isFolder), ModifiedTime(SystemPath(path))};
}

std::vector<Item> LookAtItems(const std::vector<std::string>& names) {
    const KnownItems known = ReadKnownItems();
    Progress progress(names.size());
    std::vector<Item> items;
    for (const std::string& name : names) {
        progress.Show(items.size());
        items.push_back(LookAtItem(name, known));
    }
    return items;
}

const char* KindOf(const Item& item) {
    return item.isFolder ? "folder" : "file";
}

std::string ItemAsJson(const Item& item) {
    return JsonObject({{"name", JsonText(item.name)},
                       {"path", JsonText(LocalPath(item.path))},
                       {"kind", JsonText(KindOf(item))},
                       {"size", JsonNumber(item.size)},
                       {"modified", JsonTime(item.modified)},
                       {"canGoBack", JsonBool(item.canGoBack)}});
}

std::vector<std::string> ItemAsRow(const Item& item) {
    const std::string name = Printable(item.name);
    return {KindOf(item), SizeText(item.size), TimeText(item.modified),
            item.canGoBack ? "yes" : Coloured(Colour::Yellow, "no"),
            item.isFolder ? Coloured(Colour::Blue, name) : name};
}

void PrintItems(const std::vector<Item>& items) {
    std::vector<std::vector<std::string>> rows = {
        {Bold("KIND"), Bold("SIZE"), Bold("CHANGED"), Bold("CAN GO BACK"), Bold("NAME")}};
    std::transform(items.begin(), items.end(), std::back_inserter(rows), ItemAsRow);
    PrintTable(rows, "");
    const auto size = std::accumulate(items.begin(), items.end(), std::int64_t{0},
                                      [](std::int64_t sum, const Item& item) { return sum + item.size.value_or(0); });
    std::cout << CountItems(items.size()) << ", " << FormatSize(size) << '\n';
}

// ---- info ----

struct PathFacts {
    std::string path;
    bool exists;
    bool isFolder;
    std::string song;
    std::string extension;
    std::string folderPart;
    std::string drive;
    Size size;
    std::optional<std::time_t> modified;
    Size freeSpace;
    bool isEmptyFolder;
};

std::string SongKind(const std::string& path) {
    if (FileNames::IsSongFolder(path))
        return "song folder";
    return FileNames::IsSongFile(path) ? "song file, by its name" : "no";
}

// The whole path stands for "none".
std::string ExtensionOf(std::string path) {
    std::string extension = FileNames::GetExtension(path);
    return extension == path ? std::string() : extension;
}

Size FreeSpace(const std::string& folder) {
    const std::int64_t space = FileNames::GetAvailableSpace(folder);
    return space == std::numeric_limits<std::int64_t>::max() ? std::nullopt : Size(space);
}

PathFacts LookAtPath(std::string path) {
    PathFacts facts = {};
    facts.path = path;
    facts.exists = IsThere(path);
    facts.isFolder = IsFolder(path);
    facts.song = SongKind(path);
    facts.extension = ExtensionOf(path);
    facts.folderPart = FileNames::GetPathWithoutFilename(path);
    facts.drive = FileNames::GetPathRoot(path);
    if (facts.exists) {
        facts.size = SizeOf(path, facts.isFolder);
        facts.modified = ModifiedTime(SystemPath(path));
    }
    facts.freeSpace = FreeSpace(facts.isFolder ? path : facts.folderPart);
    facts.isEmptyFolder = facts.isFolder && FileNames::IsFolderEmpty(FileNames::FormatDirectory(path));
    return facts;
}

std::string FactsAsJson(const PathFacts& facts) {
    return JsonObject({{"path", JsonText(LocalPath(facts.path))},
                       {"exists", JsonBool(facts.exists)},
                       {"folder", JsonBool(facts.isFolder)},
                       {"empty", JsonBool(facts.isEmptyFolder)},
                       {"song", JsonText(facts.song)},
                       {"size", JsonNumber(facts.size)},
                       {"modified", JsonTime(facts.modified)},
                       {"extension", JsonText(facts.extension)},
                       {"folderPart", JsonText(LocalPath(facts.folderPart))},
                       {"drive", JsonText(facts.drive)},
                       {"freeSpace", JsonNumber(facts.freeSpace)}});
}

std::string FolderText(const PathFacts& facts) {
    return facts.isEmptyFolder ? "yes, an empty one" : YesNo(facts.isFolder);
}

void PrintFacts(const PathFacts& facts) {
    std::cout << Bold(Printable(LocalPath(facts.path))) << '\n';
    PrintTable({{"Exists", facts.exists ? "yes" : Coloured(Colour::Yellow, "no")},
                {"Folder", FolderText(facts)},
                {"Song", facts.song},
                {"Size", SizeText(facts.size)},
                {"Changed", TimeText(facts.modified)},
                {"Extension", facts.extension.empty() ? "none" : Printable(facts.extension)},
                {"Folder part", Printable(LocalPath(facts.folderPart))},
                {"Drive", facts.drive},
                {"Free space", facts.freeSpace ? FormatSize(*facts.freeSpace) : "unknown"}},
               "  ");
}

} // namespace

bool List(const Request& request) {
    const std::vector<std::string> names = TrashItems();
    if (request.form == OutputForm::Names || request.form == OutputForm::NulEndedNames) {
        const char end = request.form == OutputForm::Names ? '\n' : '\0';
        for (const std::string& name : names)
            std::cout << Printable(name) << end;
        return true;
    }
    const std::vector<Item> items = LookAtItems(names);
    if (request.form == OutputForm::Json) {
        std::vector<std::string> objects;
        std::transform(items.begin(), items.end(), std::back_inserter(objects), ItemAsJson);
        std::cout << JsonArray(objects) << '\n';
    } else if (items.empty()) {
        std::cout << "The trash is empty.\n";
    } else {
        PrintItems(items);
    }
    return true;
}

bool Info(const Request& request) {
    bool isAllDone = true;
    std::vector<std::string> objects;
    for (const std::string& typed : request.operands) {
        const ResolvedPath resolved = ResolvePath(typed);
        if (resolved.path.empty()) {
            ComplainAbout({"look at", ""}, typed, resolved.problem);
            isAllDone = false;
        } else if (request.form == OutputForm::Json) {
            objects.push_back(FactsAsJson(LookAtPath(resolved.path)));
        } else {
            PrintFacts(LookAtPath(resolved.path));
        }
    }
    if (request.form == OutputForm::Json)
        std::cout << JsonArray(objects) << '\n';
    return isAllDone;
}

} // namespace songbin
