#include "terminal.h"

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

void SurviveClosedPipes() {}

Utf8Console::Utf8Console() : previousEncoding_(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
}

Utf8Console::~Utf8Console() {
    if (previousEncoding_ != 0)
        SetConsoleOutputCP(previousEncoding_);
}

bool ChooseDataFolder(const std::string& /*folder*/) {
    return false;
}

#else

bool StandardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

void SurviveClosedPipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

bool ChooseDataFolder(const std::string& folder) {
    return setenv("XDG_DATA_HOME", folder.c_str(), 1) == 0;
}

#endif

} // namespace songbin
