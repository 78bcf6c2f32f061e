#include "pathtext/normalising.h"

#include <algorithm>

#include "frame/text.h"
#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {

bool MakeNormal(std::string& path) {
    char full[pathBufferSize];
    const DWORD length = ::GetFullPathNameA(path.c_str(), pathBufferSize, full, nullptr);
    if (length == 0)
        return false;
    path.assign(full, length < pathBufferSize ? length : 0);
    return true;
}

std::string NormalizePath(std::string path) {
    MakeNormal(path);
    return path;
}

std::string NormalizePathCase(std::string& path) {
    std::string folded = path;
    std::transform(folded.begin(), folded.end(), folded.begin(), FoldCase);
    return folded;
}

bool CompareNormalizedPaths(std::string first, std::string second) {
    return EqualsIgnoringCase(first, second);
}

bool IsPathBelow(std::string path, std::string folder) {
    const bool endsAtSeparator = folder.empty() || folder.back() == '\\';
    if (!endsAtSeparator && (path.size() <= folder.size() || path[folder.size()] != '\\'))
        return false;
    return EqualsIgnoringCase(std::string_view(path).substr(0, folder.size()), folder);
}

std::string ConvertPathToLocalSystem(std::string path) {
    const bool isRooted = !path.empty() && path[0] == '/';
    std::replace(path.begin(), path.end(), '/', '\\');
    if (isRooted)
        path.insert(0, "C:");
    return path;
}

} // namespace Vellox::FileNames
