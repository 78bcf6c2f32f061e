#include "filesystem/listing.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "frame/text.h"
#include "platform/guard.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

class Search {
public:
    explicit Search(const std::string& pattern) : handle_(::FindFirstFileW(WideArgument(pattern).c_str(), &match_)) {}

    bool FoundSomething() const { return static_cast<bool>(handle_); }
    bool Next() { return ::FindNextFileW(handle_.Get(), &match_) != FALSE; }

    const WideChar* Name() const { return match_.cFileName; }
    EntryKind Kind() const {
        return (match_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::Folder : EntryKind::File;
    }
    bool IsDotName() const {
        const WideChar* name = match_.cFileName;
        return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
    }

private:
    WIN32_FIND_DATAW match_;
    SearchHandle handle_;
};

std::vector<std::string> List(const std::string& pattern, EntryKind kind) {
    std::vector<std::string> names;
    ListFolderEntries(pattern, names, kind);
    return names;
}

std::int32_t OpenListing(const char* pattern, void** state) {
    auto names = std::make_unique<std::vector<std::string>>(List(pattern, EntryKind::File));
    const auto count = static_cast<std::int32_t>(names->size());
    *state = names.release();
    return count;
}

std::int32_t TakeNextName(char* name, std::int32_t maxLength, void* state) {
    auto* names = static_cast<std::vector<std::string>*>(state);
    if (names->empty()) {
        delete names;
        return -1;
    }
    const std::string& last = names->back();
    const auto count = std::min(last.size(), static_cast<std::size_t>(std::max(maxLength, 0)));
    last.copy(name, count);
    name[count] = '\0';
    names->pop_back();
    return static_cast<std::int32_t>(names->size());
}

} // namespace

bool ListFolderEntries(const std::string& pattern, std::vector<std::string>& names, EntryKind kind) {
    Search search(pattern);
    if (!search.FoundSomething())
        return false;
    do {
        if (search.Kind() == kind && !search.IsDotName())
            names.push_back(WideToUtf8(search.Name()));
    } while (search.Next());
    return true;
}

bool HasMatch(const std::string& pattern) {
    Search search(pattern);
    if (!search.FoundSomething())
        return false;
    while (search.IsDotName())
        if (!search.Next())
            return false;
    return true;
}

std::vector<std::string> GetFolderFiles(std::string pattern) {
    return List(pattern, EntryKind::File);
}

std::vector<std::string> GetFolderSubfolders(std::string pattern) {
    return List(pattern, EntryKind::Folder);
}

std::int32_t GetFolderFiles(const char* pattern, char* name, std::int32_t maxLength, void** state) {
    return name == nullptr ? OpenListing(pattern, state) : TakeNextName(name, maxLength, *state);
}

} // namespace Vellox::FileNames
