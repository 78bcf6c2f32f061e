#include "platform/posix/system.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <vector>

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"
#include "platform/posix/win32.h"

namespace Vellox::Posix {
namespace {

constexpr std::size_t folderBufferSize = 1040;

// The variable's value, if it is an absolute path.
std::string FolderFromEnvironment(const char* variable) {
    const char* value = ::secure_getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

std::string AccountHome() {
    std::vector<char> buffer(4096);
    struct passwd account {};
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

FILETIME ToFileTime(const struct timespec& time) {
    constexpr ULONGLONG ticksPerSecond = 10'000'000;
    constexpr ULONGLONG secondsFrom1601To1970 = 11'644'473'600;
    const ULONGLONG ticks = (static_cast<ULONGLONG>(time.tv_sec) + secondsFrom1601To1970) * ticksPerSecond +
                            static_cast<ULONGLONG>(time.tv_nsec) / 100;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

} // namespace Vellox::Posix

using namespace Vellox::Posix;

BOOL SHGetSpecialFolderPathA(HWND /*owner*/, char* buffer, int folder, BOOL create) {
    if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_APPDATA)
        return static_cast<BOOL>(Fail(ERROR_INVALID_PARAMETER));
    std::string data = DataFolder();
    if (data.empty())
        return static_cast<BOOL>(Fail(ERROR_PATH_NOT_FOUND));
    while (data.size() > 1 && data.back() == '/')
        data.pop_back();
    if (data.size() + std::string_view("C:").size() >= folderBufferSize)
        return static_cast<BOOL>(Fail(ERROR_FILENAME_EXCED_RANGE));
    if (create != FALSE && !CreatePrivateFolders(data))
        return static_cast<BOOL>(FailFromErrno());
    const std::string text = ToWin32Text(data);
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return TRUE;
}

DWORD GetModuleFileNameA(HMODULE /*module*/, char* buffer, DWORD capacity) {
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    if (length < 0)
        return static_cast<DWORD>(FailFromErrno());
    const std::string text = ToWin32Text({path, static_cast<std::size_t>(length)});
    if (text.size() >= capacity)
        return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

void GetSystemTimeAsFileTime(FILETIME* time) {
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    *time = ToFileTime(now);
}

BOOL GetVersionExA(OSVERSIONINFOA* version) {
    if (version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA))
        return static_cast<BOOL>(Fail(ERROR_INSUFFICIENT_BUFFER));
    *version = {sizeof(OSVERSIONINFOA), 10, 0, 0, 2, {}};
    return TRUE;
}

HMODULE GetModuleHandleA(const char* name) {
    static char kernelModule;
    return std::string_view(name) == "kernel32.dll" ? &kernelModule : nullptr;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    if (module == nullptr || std::string_view(name) != "FlushFileBuffers") {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&::FlushFileBuffers));
}

// As on Win32, the thread that holds a section may enter it again.
void InitializeCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(&section->mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_lock(&section->mutex);
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_unlock(&section->mutex);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    ::pthread_mutex_destroy(&section->mutex);
}
