#include "system.h"

#include <cstdint>

#ifdef _WIN32
#include <cstdio>
#include <io.h>
#include <windows.h>
#else
#include <csignal>
#include <cstdlib>
#include <unistd.h>
#endif

namespace songbin {

#ifdef _WIN32

bool StandardErrorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void PrepareOutput() {
    SetConsoleOutputCP(CP_UTF8);
}

bool ChooseDataFolder(const std::string& /*folder*/) {
    return false;
}

std::string DefaultOpener() {
    return "explorer.exe";
}

void CloseProcess(void* process) {
    CloseHandle(process);
}

#else

bool StandardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

void PrepareOutput() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

bool ChooseDataFolder(const std::string& folder) {
    return setenv("XDG_DATA_HOME", folder.c_str(), 1) == 0;
}

std::string DefaultOpener() {
    return "xdg-open";
}

void CloseProcess(void* process) {
    close(static_cast<int>(reinterpret_cast<std::intptr_t>(process)));
}

#endif

} // namespace songbin
