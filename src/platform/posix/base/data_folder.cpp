#include "platform/posix/base/data_folder.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace Vellox::Posix {
namespace {

// The variable's value, if it is an absolute path.
std::string FolderFromEnvironment(const char* variable) {
    const char* value = ::secure_getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

std::string AccountHome() {
    std::vector<char> buffer(4096);
    struct passwd account = {};
    struct passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &account, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return found != nullptr && found->pw_dir != nullptr && found->pw_dir[0] == '/' ? found->pw_dir : "";
}

} // namespace

std::string DataFolder() {
    std::string data = FolderFromEnvironment("XDG_DATA_HOME");
    if (!data.empty())
        return data;
    std::string home = FolderFromEnvironment("HOME");
    if (home.empty())
        home = AccountHome();
    return home.empty() ? home : home + "/.local/share";
}

bool CreatePrivateFolders(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) {
        errno = ENOTDIR;
        return S_ISDIR(status.st_mode);
    }
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        ::mkdir(path.substr(0, end).c_str(), 0700);
    return ::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

} // namespace Vellox::Posix
