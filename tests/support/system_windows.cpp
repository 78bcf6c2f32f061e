#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <stdexcept>

#include "support/system.h"

namespace Vellox::Testing {
namespace {

constexpr std::uint64_t longAgo = 116444736'000000000 + 12345678901'234567;
constexpr FILETIME longAgoTime = {static_cast<DWORD>(longAgo), static_cast<DWORD>(longAgo >> 32)};

} // namespace

bool HoldsHere(const OnlyOn& onlyOn) {
    return onlyOn.system != OnlyOn::System::Linux;
}

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

// In a registry of the test's own; the user's data stays apart from it.
void SetDataFolder(const std::filesystem::path& folder) {
    const std::string text = folder.string();
    const std::string registry = "Software\\Vellox Tests\\" + std::to_string(ProcessNumber());
    constexpr const char* folders = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
    HKEY root = nullptr;
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (::RegCreateKeyExA(HKEY_CURRENT_USER, registry.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                          nullptr, &root, nullptr) != 0 ||
        ::RegOverridePredefKey(HKEY_CURRENT_USER, root) != 0 ||
        ::RegSetKeyValueA(HKEY_CURRENT_USER, folders, "AppData", REG_SZ, text.c_str(),
                          static_cast<DWORD>(text.size() + 1)) != 0)
        throw std::runtime_error("cannot move the data folder");
    ::RegCloseKey(root);
}

void SetTemporaryFolder(const std::filesystem::path& folder) {
    ::_wputenv_s(L"TMP", folder.c_str());
}

// Drive Z: of Wine is the root of the system below.
bool HoldsAll(const std::filesystem::path& /*folder*/) {
    return true;
}

std::filesystem::path FolderOnOtherVolume() {
    return R"(Z:\dev\shm)";
}

void MakeLink(const std::filesystem::path& /*target*/, const std::filesystem::path& /*link*/) {}

void MakeFifo(const std::filesystem::path& /*path*/) {}

void MakeOld(const std::filesystem::path& path) {
    HANDLE entry = ::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_TRUE(::SetFileTime(entry, nullptr, nullptr, &longAgoTime)) << path;
    ::CloseHandle(entry);
}

bool IsOld(const std::filesystem::path& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) != FALSE &&
           ::CompareFileTime(&data.ftLastWriteTime, &longAgoTime) == 0;
}

AsOrdinaryUser::AsOrdinaryUser() = default;
AsOrdinaryUser::~AsOrdinaryUser() = default;

} // namespace Vellox::Testing
