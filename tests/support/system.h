#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

// What the tests ask of the system itself; each system has its own file.

namespace Vellox::Testing {

// Where a row of a table or a whole test can hold: on each system, or on one alone, for a reason.
struct OnlyOn {
    enum class System { Any, Linux, Windows };
    System system = System::Any;
    const char* reason = "";
};
constexpr OnlyOn OnLinux(const char* reason) {
    return {OnlyOn::System::Linux, reason};
}
constexpr OnlyOn OnWindows(const char* reason) {
    return {OnlyOn::System::Windows, reason};
}
inline constexpr OnlyOn anywhere = {};
inline constexpr OnlyOn withLinks = OnLinux("Wine makes no links");
inline constexpr OnlyOn withRights = OnLinux("rights and marks do not bind Wine's root");
inline constexpr OnlyOn withoutCodePage = OnLinux("Windows reads narrow text by a code page");
inline constexpr OnlyOn withLongFullPath = OnLinux("Wine's narrow full path ends at 259 characters");
inline constexpr OnlyOn withCase = OnLinux("on Windows names do not differ by case");
inline constexpr OnlyOn withFolderTimes = OnLinux("the shell of Windows gives copied folders a new time");
inline constexpr OnlyOn withAnyName = OnLinux("Windows drops dots and blanks at the end of a name");

bool HoldsHere(const OnlyOn& onlyOn);
// The same for the row of that name, which is told where it is left out.
bool HoldsHere(const OnlyOn& onlyOn, std::string_view row);

unsigned ProcessNumber();

// How many descriptors the process has open; always 0 where the system does not tell.
std::size_t OpenDescriptors();

// What the test makes from now on is open to other users, whatever is usual here.
void LetOthersIn();

void SetEnvironment(const char* name, const std::string& value);

// What the library asks the system for: where it keeps the user's data, and where it makes temporary files.
void SetDataFolder(const std::filesystem::path& folder);
void SetTemporaryFolder(const std::filesystem::path& folder);

// The top of another volume than the temporary folder's: /dev/shm on Linux, or what VELLOX_OTHER_VOLUME names.
std::filesystem::path FolderOnOtherVolume();

// Whether the folder's volume holds links, FIFOs, any name, rights, owners and times to the nanosecond; tells what it
// does not hold, as what that shows is left out there. Always so where all volumes are of one kind.
bool HoldsAll(const std::filesystem::path& folder);

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
