#include "filesystem/creating.h"

#include "filesystem/queries.h"
#include "frame/text.h"
#include "platform/win32.h"
#include "vellox/filesystem.h"

namespace Vellox::FileNames {
namespace {

// How many components at the start are neither tested nor made: a share's two (`\\server\share`), none behind a single
// backslash (`\a\b`), and else the first one, which stands for the drive (`C:\a`).
std::size_t RootComponents(const std::string& path) {
    if (path.compare(0, 2, "\\\\") == 0)
        return 2;
    return path[0] == '\\' ? 0 : 1;
}

std::string LeadingBackslashes(const std::string& path) {
    if (path.compare(0, 2, "\\\\") == 0)
        return "\\\\";
    return path[0] == '\\' ? "\\" : "";
}

} // namespace

bool CreateDirectoryA(std::string path) {
    return ::CreateDirectoryW(WideArgument(path).c_str(), nullptr) != FALSE;
}

std::vector<std::string> SplitFolderComponents(const std::string& path) {
    std::vector<std::string> components;
    std::size_t start = 0;
    while ((start = path.find_first_not_of('\\', start)) != std::string::npos) {
        const std::size_t end = std::min(path.find('\\', start), path.size());
        components.push_back(path.substr(start, end - start));
        start = end;
    }
    return components;
}

bool CreateDirectories(std::string path) {
    const std::vector<std::string> components = SplitFolderComponents(path);
    if (components.empty())
        return true;
    const std::size_t rootComponents = RootComponents(path);
    std::string current = LeadingBackslashes(path);
    for (std::size_t index = 0; index < components.size(); ++index) {
        current += components[index];
        if (index >= rootComponents && !CheckFolderExists(current) && !CreateDirectoryA(current))
            return false;
        current += '\\';
    }
    return true;
}

} // namespace Vellox::FileNames
