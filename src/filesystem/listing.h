#pragma once

#include <string>
#include <vector>

namespace Vellox::FileNames {

enum class EntryKind { File, Folder };

// Appends the names of that kind that match the search pattern. False if the search found nothing of any kind.
bool ListFolderEntries(const std::string& pattern, std::vector<std::string>& names, EntryKind kind);

// True if a file or folder other than "." and ".." matches.
bool HasMatch(const std::string& pattern);

} // namespace Vellox::FileNames
