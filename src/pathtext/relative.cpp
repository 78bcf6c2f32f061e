#include <algorithm>

#include "frame/text.h"
#include "pathtext/filenames.h"
#include "pathtext/join.h"
#include "pathtext/normalising.h"
#include "platform/limits.h"
#include "platform/win32.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

bool IsRelative(const std::string& path) {
    const std::string_view text = UpToNul(path);
    const bool startsAtRoot = !text.empty() && text[0] == '\\';
    const bool hasDrive = text.size() >= 2 && text[1] == ':';
    return !startsAtRoot && !hasDrive;
}

void PutBehindCurrentFolder(std::string& path) {
    char full[pathBufferSize];
    full[0] = '\0';
    if (::_fullpath(full, path.c_str(), pathBufferSize) != nullptr && full[0] != '\0')
        path = full;
}

// As GetAbsolutePath, in place; says whether the path is in its full form now.
bool MakeAbsolute(std::string& path, const char* base) {
    if (IsRelative(path)) {
        if (base == nullptr)
            PutBehindCurrentFolder(path);
        else
            path = JoinFolder(base, path);
    }
    return MakeNormal(path);
}

// How much of two folders in their full form, each with a backslash at the end, are the same components.
std::size_t CommonLength(std::string_view first, std::string_view second) {
    const std::size_t shorter = std::min(first.size(), second.size());
    std::size_t same = 0;
    while (same < shorter && FoldCase(first[same]) == FoldCase(second[same]))
        ++same;
    return FindLast(first.substr(0, same), '\\') + 1;
}

} // namespace

std::string GetAbsolutePath(std::string path, const char* base) {
    MakeAbsolute(path, base);
    return path;
}

std::int32_t GetPathRelativeToOtherFile(std::string& result, const std::string& otherFile, const std::string& path) {
    // The full form of nothing against nothing is nothing, which MakeAbsolute cannot tell from a path that is refused.
    if (UpToNul(path).empty() && UpToNul(otherFile).empty()) {
        result.clear();
        return 1;
    }
    std::string absolute = path;
    if (!MakeAbsolute(absolute, otherFile.c_str()))
        return 0;
    const std::string base = FolderOfPath(otherFile);
    const std::string_view target = FolderOfFullPath(absolute);
    const std::size_t common = CommonLength(target, base);
    if (common == 0)
        return 0;
    std::string relative;
    relative.reserve(3 * (base.size() - common) + absolute.size());
    for (auto left = std::count(base.begin() + static_cast<std::ptrdiff_t>(common), base.end(), '\\'); left > 0; --left)
        relative += "..\\";
    relative.append(absolute, common, std::string::npos);
    result = std::move(relative);
    return 1;
}

} // namespace Vellox::FileNames
