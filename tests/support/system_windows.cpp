#include <windows.h>

#include <cstdlib>

#include "support/system.h"

namespace Vellox::Testing {

unsigned ProcessNumber() {
    return ::GetCurrentProcessId();
}

std::size_t OpenDescriptors() {
    return 0;
}

void LetOthersIn() {}

void SetEnvironment(const char* name, const std::string& value) {
    ::_putenv_s(name, value.c_str());
}

void SetTemporaryFolder(const std::filesystem::path& folder) {
    SetEnvironment("TMP", folder.string());
}

// Drive Z: of Wine is the root of the system below.
std::filesystem::path FolderOnOtherVolume() {
    return R"(Z:\dev\shm)";
}

AsOrdinaryUser::AsOrdinaryUser() = default;
AsOrdinaryUser::~AsOrdinaryUser() = default;

bool AsOrdinaryUser::IsBound() const {
    return false;
}

} // namespace Vellox::Testing
