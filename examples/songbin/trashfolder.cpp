#include "trashfolder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
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

// Takes a catalogue apart, in the form that docs/trash.md tells. Where it is damaged, nothing more is taken.
class CatalogueText {
public:
    explicit CatalogueText(std::string_view bytes) : rest_(bytes) {}

    std::uint32_t TakeNumber() {
        std::uint32_t number = 0;
        const std::string_view bytes = Take(sizeof number);
        for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
            number = (number << 8U) | static_cast<unsigned char>(*byte);
        return number;
    }

    std::string TakeText() {
        const std::string_view text = Take(TakeNumber());
        return std::string(text.substr(0, text.find('\0')));
    }

    void SkipTime() { Take(8); }
    bool IsAtEnd() const { return rest_.empty(); }

private:
    std::string_view Take(std::size_t count) {
        const std::string_view taken = count <= rest_.size() ? rest_.substr(0, count) : std::string_view();
        rest_.remove_prefix(count <= rest_.size() ? count : rest_.size());
        return taken;
    }

    std::string_view rest_;
};

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

KnownItems ReadKnownItems() {
    constexpr std::uint32_t withOldPlaces = 2;
    const std::string path = TrashPath(catalogueName);
    KnownItems known;
    if (!IsThere(path))
        return known;
    std::ifstream file(SystemPath(path), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw std::runtime_error("cannot read the catalogue \"" + LocalPath(path) + "\"");
    CatalogueText text(bytes);
    if (text.TakeNumber() != withOldPlaces)
        return known;
    for (std::uint32_t count = text.TakeNumber(); count > 0 && !text.IsAtEnd(); --count) {
        std::string item = text.TakeText();
        text.SkipTime();
        if (!text.TakeText().empty())
            known.insert(std::move(item));
    }
    return known;
}

} // namespace songbin
