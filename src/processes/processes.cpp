#include "vellox/processes.h"

#include "platform/win32.h"

namespace Vellox::FileNames {
namespace {

std::string JoinWords(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (&word != &words.front())
            line += ' ';
        line += word;
    }
    return line;
}

} // namespace

void* LaunchProcess(std::string /*program*/, std::vector<std::string>& arguments) {
    std::string commandLine = JoinWords(arguments);
    constexpr BOOL inheritHandles = FALSE;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information = {};
    if (::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, inheritHandles, DETACHED_PROCESS, nullptr,
                         nullptr, &startup, &information) == FALSE)
        return nullptr;
    ::CloseHandle(information.hThread);
    return information.hProcess;
}

std::int32_t WaitForProcess(void* process, std::int32_t timeout) {
    if (process == nullptr)
        return 0;
    return ::WaitForSingleObject(process, static_cast<DWORD>(timeout)) == WAIT_OBJECT_0 ? 1 : 0;
}

} // namespace Vellox::FileNames
