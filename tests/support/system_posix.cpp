#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "support/system.h"

namespace Vellox::Testing {
namespace {

constexpr uid_t ordinaryUser = 65534;

} // namespace

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

AsOrdinaryUser::AsOrdinaryUser() {
    if (::geteuid() == 0 && ::seteuid(ordinaryUser) != 0)
        ADD_FAILURE() << "cannot act as another user";
}

AsOrdinaryUser::~AsOrdinaryUser() {
    if (::getuid() == 0 && ::seteuid(0) != 0)
        ADD_FAILURE() << "cannot act as root again";
}

bool AsOrdinaryUser::IsBound() const {
    return ::geteuid() != 0;
}

} // namespace Vellox::Testing
