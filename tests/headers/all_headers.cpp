// Hosts include the system's header before or after ours, with any of its switches.
#ifdef SYSTEM_FIRST
#include <windows.h>
#endif

#include <vellox/fileobjects.h>
#include <vellox/filesystem.h>
#include <vellox/frame.h>
#include <vellox/pathtext.h>
#include <vellox/processes.h>
#include <vellox/songs.h>
#include <vellox/trash.h>

#include <windows.h>

// The names that a system's macros and functions come near to stay callable.
bool UseHeaders() {
    using namespace Vellox::FileNames;
    CopyFileError error = SourceNotFound;
    return Vellox::FileNames::CopyFileA("none", "none", true, &error) || Vellox::FileNames::CreateDirectoryA("") ||
           GetModuleFilename().empty() || GetTempFilename(std::string()).empty() ||
           Vellox::FileNames::WaitForProcess(nullptr, 0) == 1;
}
