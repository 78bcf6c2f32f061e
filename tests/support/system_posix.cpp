#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "support/system.h"

namespace Vellox::Testing {
namespace {

constexpr uid_t ordinaryUser = 65534;
constexpr struct timespec longAgo { 1234567890, 123456700 };

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
    struct stat here {};
    struct stat there {};
    if (::stat(std::filesystem::temp_directory_path().c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 ||
        here.st_dev == there.st_dev)
        throw std::runtime_error("/dev/shm is not another volume");
    return "/dev/shm";
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
    struct stat status {};
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
