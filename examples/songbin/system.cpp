#include "system.h"

#include <cstdint>

#ifdef _WIN32
#include <atomic>
#include <cstdio>
#include <cstdlib>
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

std::atomic<bool> interrupted = false;

// Runs in a thread of its own. After a closed console, the end of the session or of the system, Windows ends the
// process as soon as this returns, so it waits for the main thread to end it.
BOOL WINAPI NoteInterrupt(DWORD event) {
    interrupted = true;
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
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

void NoteInterrupts() {
    SetConsoleCtrlHandler(NoteInterrupt, TRUE);
}

bool IsInterrupted() {
    return interrupted;
}

void EndIfInterrupted() {
    constexpr unsigned endedByControlC = 0xC000013A;
    if (interrupted)
        std::exit(static_cast<int>(endedByControlC));
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

namespace {

volatile std::sig_atomic_t receivedSignal = 0;

void NoteSignal(int signal) {
    receivedSignal = signal;
}

} // namespace

bool StandardOutputIsTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

bool StandardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

void PrepareOutput() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

void NoteInterrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = NoteSignal;
        action.sa_flags = SA_RESTART; // the move in hand goes on
        sigaction(signal, &action, nullptr);
    }
}

bool IsInterrupted() {
    return receivedSignal != 0;
}

void EndIfInterrupted() {
    if (receivedSignal == 0)
        return;
    (void)std::signal(receivedSignal, SIG_DFL);
    (void)std::raise(receivedSignal);
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
