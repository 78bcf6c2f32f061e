#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

// What the tests ask of the system itself; each system has its own file.

namespace Vellox::Testing {

// A row of a table that can hold on one system only names that system and tells why: "linux: Wine makes no links".
bool HoldsHere(std::string_view onlyOn);

inline constexpr const char* withLinks = "linux: Wine makes no links";
inline constexpr const char* withRights = "linux: rights and marks do not bind Wine's root";
inline constexpr const char* withoutCodePage = "linux: Windows reads narrow text by a code page";
inline constexpr const char* withLongFullPath = "linux: Wine's narrow full path ends at 259 characters";
inline constexpr const char* withCase = "linux: on Windows names do not differ by case";
inline constexpr const char* withFolderTimes = "linux: the shell of Windows gives copied folders a new time";
inline constexpr const char* withAnyName = "linux: Windows drops dots and blanks at the end of a name";

unsigned ProcessNumber();

// How many descriptors the process has open; always 0 where the system does not tell.
std::size_t OpenDescriptors();

// What the test makes from now on is open to other users, whatever is usual here.
void LetOthersIn();

void SetEnvironment(const char* name, const std::string& value);

// What the library asks the system for: where it keeps the user's data, and where it makes temporary files.
void SetDataFolder(const std::filesystem::path& folder);
void SetTemporaryFolder(const std::filesystem::path& folder);

// A folder on another volume than the temporary folder's.
std::filesystem::path FolderOnOtherVolume();

// Only Linux has these; elsewhere nothing is made.
void MakeLink(const std::filesystem::path& target, const std::filesystem::path& link);
void MakeFifo(const std::filesystem::path& path);

// Gives the entry, a link itself, a modification time of long ago, to a tenth of a millionth of a second.
void MakeOld(const std::filesystem::path& path);
bool IsOld(const std::filesystem::path& path);

// Rights do not bind root. Acts as another user, who owns nothing, until it goes; without root there is nothing to do.
class AsOrdinaryUser {
public:
    AsOrdinaryUser();
    ~AsOrdinaryUser();
};

} // namespace Vellox::Testing
