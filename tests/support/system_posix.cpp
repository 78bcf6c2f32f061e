#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "support/system.h"

namespace Vellox::Testing {
namespace {

constexpr uid_t ordinaryUser = 65534;
constexpr struct timespec longAgo = {1234567890, 123456700};

bool HasNone(const std::filesystem::path& volume, const char* missing) {
    std::cout << "[ left out ] " << volume << " does not hold " << missing << '\n';
    return false;
}

} // namespace

bool HoldsHere(const OnlyOn& onlyOn) {
    return onlyOn.system != OnlyOn::System::Windows;
}

unsigned ProcessNumber() {
    return static_cast<unsigned>(::getpid());
}

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

void LetOthersIn() {
    ::umask(022);
}

void SetEnvironment(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);
}

void SetDataFolder(const std::filesystem::path& folder) {
    SetEnvironment("XDG_DATA_HOME", folder.string());
}

void SetTemporaryFolder(const std::filesystem::path& folder) {
    SetEnvironment("TMPDIR", folder.string());
}

std::filesystem::path FolderOnOtherVolume() {
    const char* named = std::getenv("VELLOX_OTHER_VOLUME");
    const std::filesystem::path volume = named != nullptr ? named : "/dev/shm";
    struct stat here = {};
    struct stat there = {};
    if (::stat(std::filesystem::temp_directory_path().c_str(), &here) != 0 || ::stat(volume.c_str(), &there) != 0 ||
        here.st_dev == there.st_dev)
        throw std::runtime_error(volume.string() + " is not another volume");
    return volume;
}

bool HoldsAll(const std::filesystem::path& folder) {
    const std::filesystem::path probe = folder / "probe \xE9";
    struct stat status = {};
    const char* missing = nullptr;
    if (::mkdir(probe.c_str(), 0751) != 0)
        return HasNone(folder, "any name");
    if (::symlink("none", (probe / "link").c_str()) != 0)
        missing = "links";
    else if (::mkfifo((probe / "fifo").c_str(), 0600) != 0)
        missing = "FIFOs";
    else if (::stat(probe.c_str(), &status) != 0 || (status.st_mode & 07777) != 0751 || status.st_uid != ::geteuid())
        missing = "rights and owners";
    MakeOld(probe);
    if (!IsOld(probe))
        missing = "exact times";
    std::filesystem::remove_all(probe);
    return missing == nullptr || HasNone(folder, missing);
}

void MakeLink(const std::filesystem::path& target, const std::filesystem::path& link) {
    std::filesystem::create_symlink(target, link);
}

void MakeFifo(const std::filesystem::path& path) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0640), 0) << path;
}

void MakeOld(const std::filesystem::path& path) {
    const struct timespec times[] = {longAgo, longAgo};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

bool IsOld(const std::filesystem::path& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && status.st_mtim.tv_sec == longAgo.tv_sec &&
           status.st_mtim.tv_nsec == longAgo.tv_nsec;
}

AsOrdinaryUser::AsOrdinaryUser() {
    if (::geteuid() == 0 && ::seteuid(ordinaryUser) != 0)
        ADD_FAILURE() << "cannot act as another user";
}

AsOrdinaryUser::~AsOrdinaryUser() {
    if (::getuid() == 0 && ::seteuid(0) != 0)
        ADD_FAILURE() << "cannot act as root again";
}

} // namespace Vellox::Testing
