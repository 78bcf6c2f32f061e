#include "system.h"

#include <cstdint>

#ifdef _WIN32
#include <cstdio>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace songbin {

#ifdef _WIN32

namespace {

void LetEscapesThrough(DWORD stream) {
    HANDLE console = GetStdHandle(stream);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) != FALSE)
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

} // namespace

bool StandardOutputIsTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool StandardErrorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void PrepareOutput() {
    SetConsoleOutputCP(CP_UTF8);
    LetEscapesThrough(STD_OUTPUT_HANDLE);
    LetEscapesThrough(STD_ERROR_HANDLE);
}

bool ChooseDataFolder(const std::string& /*folder*/) {
    return false;
}

std::optional<std::time_t> ModifiedTime(const std::filesystem::path& path) {
    struct __stat64 entry;
    if (_wstat64(path.c_str(), &entry) != 0)
        return std::nullopt;
    return entry.st_mtime;
}

std::string DefaultOpener() {
    return "explorer.exe";
}

void CloseProcess(void* process) {
    CloseHandle(process);
}

#else

bool StandardOutputIsTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

bool StandardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

void PrepareOutput() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

bool ChooseDataFolder(const std::string& folder) {
    return setenv("XDG_DATA_HOME", folder.c_str(), 1) == 0;
}

std::optional<std::time_t> ModifiedTime(const std::filesystem::path& path) {
    struct stat entry;
    if (lstat(path.c_str(), &entry) != 0)
        return std::nullopt;
    return entry.st_mtime;
}

std::string DefaultOpener() {
    return "xdg-open";
}

void CloseProcess(void* process) {
    close(static_cast<int>(reinterpret_cast<std::intptr_t>(process)));
}

#endif

} // namespace songbin
