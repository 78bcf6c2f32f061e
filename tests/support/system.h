#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

// What the tests ask of the system itself; each system has its own file.

namespace Vellox::Testing {

unsigned ProcessNumber();

// How many descriptors the process has open; always 0 where the system does not tell.
std::size_t OpenDescriptors();

// What the test makes from now on is open to other users, whatever is usual here.
void LetOthersIn();

void SetEnvironment(const char* name, const std::string& value);

// Where the system makes temporary files from now on.
void SetTemporaryFolder(const std::filesystem::path& folder);

// A folder on another volume than the temporary folder's.
std::filesystem::path FolderOnOtherVolume();

// Rights do not bind root. Acts as another user, who owns nothing, until it goes; without root there is nothing to do.
class AsOrdinaryUser {
public:
    AsOrdinaryUser();
    ~AsOrdinaryUser();

    // Whether rights bind now; under Wine they never do.
    bool IsBound() const;
};

} // namespace Vellox::Testing
