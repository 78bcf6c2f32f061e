#include <windows.h>

#include "system.h"
#include "vellox/processes.h"

namespace Vellox::Benchmarks {
namespace {

void Launch() {
    std::vector<std::string> line = {R"(C:\windows\system32\cmd.exe)", "/c", "exit"};
    void* process = FileNames::LaunchProcess(line[0], line);
    if (FileNames::WaitForProcess(process, -1) != 1)
        throw std::runtime_error("no launch");
    ::CloseHandle(process);
}

} // namespace

unsigned ProcessNumber() {
    return ::GetCurrentProcessId();
}

// The folder is the user's own, and benchmarks have no business there.
bool TakeHomeFolder(const fs::path& /*folder*/) {
    return false;
}

void AddSystemCalls(Variants& /*variants*/, const Sizes& /*sizes*/) {}

void AddProcesses(Variants& variants, const Sizes& /*sizes*/) {
    Job(variants, "launch", 1).Add(Role::Library, "LaunchProcess", Launch);
}

const char* LastByte(std::string_view text, char byte) {
    const std::size_t position = text.rfind(byte);
    return position == std::string_view::npos ? nullptr : text.data() + position;
}

bool CanBeCounted(const Variant& /*variant*/) {
    return false;
}

void BeginCount(const std::string& /*name*/) {}
void EndCount(const std::string& /*name*/) {}

} // namespace Vellox::Benchmarks
