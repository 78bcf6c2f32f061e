#include "trashfolder.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/trash.h>

#include "paths.h"

namespace FileNames = Vellox::FileNames;

namespace songbin {
namespace {

constexpr const char* catalogueName = ".trash.db";

void Append(std::vector<std::string>& names, const std::vector<std::string>& more) {
    names.insert(names.end(), more.begin(), more.end());
}

void RequireHomeFolder() {
    if (GetHomeFolderBase().empty())
        throw std::runtime_error("the folder for the user's own data is not known or cannot be made");
}

} // namespace

std::string TrashFolder() {
    RequireHomeFolder();
    return FileNames::GetTrashFolderPath();
}

void MakeHomeFolder() {
    RequireHomeFolder();
    const std::string home = GetHomeFolderBase();
    if (!FileNames::CreateDirectories(home))
        throw std::runtime_error("cannot make the home folder \"" + LocalPath(home) + "\"");
}

std::vector<std::string> TrashItems() {
    const std::string trash = TrashFolder();
    if (!IsThere(trash))
        return {};
    // The library lists what it may not read as empty; this throws instead.
    std::error_code error;
    const std::filesystem::directory_iterator readable(SystemPath(trash), error);
    if (error)
        throw std::runtime_error("cannot list the trash \"" + LocalPath(trash) + "\": " + error.message());
    const std::string everything = FileNames::FormatDirectory(trash);
    std::vector<std::string> names = FileNames::GetFolderFiles(everything);
    Append(names, FileNames::GetFolderSubfolders(everything));
    names.erase(std::remove(names.begin(), names.end(), catalogueName), names.end());
    std::sort(names.begin(), names.end());
    return names;
}

bool IsTrashItem(const std::string& name) {
    const std::vector<std::string> items = TrashItems();
    return std::find(items.begin(), items.end(), name) != items.end();
}

std::string TrashPath(const std::string& item) {
    return TrashFolder() + "\\" + item;
}

} // namespace songbin
