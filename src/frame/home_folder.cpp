#include <cstdio>

#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/frame.h"

namespace {

constexpr char nameInDataFolder[] = "\\Vellox Studio 10";

// Empty until the system has told the folder. A plain array has no destructor, so a host may still ask from an exit
// handler or from the destructor of a static object of its own, whichever of them was made first.
char homeFolder[Vellox::pathBufferSize + sizeof nameInDataFolder];

} // namespace

std::string GetHomeFolderBase() {
    if (homeFolder[0] == '\0') {
        char folder[Vellox::pathBufferSize] = {};
        if (::SHGetSpecialFolderPathA(nullptr, folder, CSIDL_APPDATA | CSIDL_FLAG_CREATE, TRUE) == FALSE)
            return {};
        static_cast<void>(std::snprintf(homeFolder, sizeof homeFolder, "%s%s", folder, nameInDataFolder));
    }
    return homeFolder;
}

std::string GetProgramFolderUserDocuments() {
    return GetHomeFolderBase();
}
