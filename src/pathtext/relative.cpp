#include "pathtext/relative.h"

#include <algorithm>

#include "frame/text.h"
#include "pathtext/filenames.h"
#include "pathtext/join.h"
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

std::string AgainstCurrentFolder(std::string path) {
    char full[pathBufferSize] = {};
    if (::_fullpath(full, path.c_str(), pathBufferSize) != nullptr && full[0] != '\0')
        path = full;
    return NormalizePath(std::move(path));
}

} // namespace

ComponentReader::ComponentReader(std::string_view path) : rest_(path) {
    if (!rest_.empty() && (rest_[0] == '\\' || rest_[0] == '/'))
        rest_.remove_prefix(1);
}

bool ComponentReader::Next(std::string_view& component) {
    if (rest_.empty())
        return false;
    component = rest_.substr(0, rest_.find('\\'));
    component = component.substr(0, component.find('/'));
    rest_.remove_prefix(std::min(component.size() + 1, rest_.size()));
    return true;
}

bool ComponentReader::SkipCommon(ComponentReader& first, ComponentReader& second) {
    const std::size_t shorter = std::min(first.rest_.size(), second.rest_.size());
    std::size_t same = 0;
    while (same < shorter && FoldCase(first.rest_[same]) == FoldCase(second.rest_[same]))
        ++same;
    const std::size_t common = FindLastSeparator(first.rest_.substr(0, same)) + 1;
    first.rest_.remove_prefix(common);
    second.rest_.remove_prefix(common);
    return common > 0;
}

bool ComposeRelativeFolder(std::string_view target, std::string_view base, std::string& relative) {
    ComponentReader targetReader(target);
    ComponentReader baseReader(base);
    const bool haveCommonRoot = ComponentReader::SkipCommon(targetReader, baseReader);
    for (std::string_view name; baseReader.Next(name) && !name.empty();)
        relative += "..\\";
    for (std::string_view name; targetReader.Next(name) && !name.empty();)
        relative.append(name).append(1, '\\');
    return haveCommonRoot;
}

std::string GetAbsolutePath(std::string path, const char* base) {
    if (!IsRelative(path))
        return NormalizePath(std::move(path));
    if (base == nullptr)
        return AgainstCurrentFolder(std::move(path));
    return NormalizePath(JoinFolder(base, path));
}

std::int32_t GetPathRelativeToOtherFile(std::string& result, const std::string& otherFile, const std::string& path) {
    const std::string absolute = GetAbsolutePath(path, otherFile.c_str());
    const std::string base = FolderOfPath(otherFile);
    const std::string target = FolderOfPath(absolute);
    std::string relative;
    relative.reserve(base.size() + absolute.size());
    if (absolute.empty() || base.empty() || target.empty() || !ComposeRelativeFolder(target, base, relative))
        return 0;
    relative.append(absolute, FindLast(absolute, '\\') + 1);
    result = std::move(relative);
    return 1;
}

} // namespace Vellox::FileNames
