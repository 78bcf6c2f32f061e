#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/frame.h"

namespace {

std::string AskForHomeFolder() {
    char folder[Vellox::pathBufferSize] = {};
    if (::SHGetSpecialFolderPathA(nullptr, folder, CSIDL_APPDATA | CSIDL_FLAG_CREATE, TRUE) == FALSE)
        return {};
    return std::string(folder) + "\\Vellox Studio 10";
}

} // namespace

std::string GetHomeFolderBase() {
    static std::string homeFolder;
    if (homeFolder.empty())
        homeFolder = AskForHomeFolder();
    return homeFolder;
}

std::string GetProgramFolderUserDocuments() {
    return GetHomeFolderBase();
}
