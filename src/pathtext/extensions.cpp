#include "pathtext/extensions.h"

#include <cstring>

#include "frame/text.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

constexpr auto npos = std::string::npos;

// Where the extension of the last component begins; npos if it has none.
template <typename Char> std::size_t ExtensionStart(const std::basic_string<Char>& path) {
    const std::size_t dot = FindLast(std::basic_string_view<Char>(path), '.');
    if (dot == npos)
        return npos;
    const bool isInFolderName = path.find(Char('\\'), dot) != npos;
    return isInFolderName ? npos : dot;
}

template <typename Char> std::basic_string<Char> ExtensionOrWhole(const std::basic_string<Char>& path) {
    const std::size_t start = ExtensionStart(path);
    return start == npos ? path : path.substr(start);
}

std::string_view WithoutDot(std::string_view path) {
    const std::size_t dot = FindLast(path, '.');
    if (dot == npos)
        return {};
    return path.substr(dot + 1 == path.size() ? dot : dot + 1);
}

} // namespace

bool EndsInExtension(std::string_view text, std::string_view extension) {
    text = UpToNul(text);
    extension = UpToNul(extension);
    if (text.size() < extension.size() + 1)
        return false;
    const std::string_view tail = text.substr(text.size() - extension.size() - 1);
    return tail[0] == '.' && EqualsIgnoringCase(tail.substr(1), extension);
}

std::string GetExtension(std::string& path) {
    return ExtensionOrWhole(path);
}

WideString GetExtension(WideString& path) {
    return ExtensionOrWhole(path);
}

std::string GetExtensionWithoutDot(std::string path) {
    const std::size_t length = WithoutDot(path).size();
    path.erase(0, path.size() - length);
    return path;
}

bool HasExtension(std::string path) {
    return path.find('.') != npos;
}

std::int32_t extension_change(char* path, const char* extension) {
    char* end = std::strrchr(path, '.');
    if (end == nullptr)
        end = path + std::strlen(path);
    *end = '.';
    std::memcpy(end + 1, extension, std::strlen(extension) + 1);
    return 1;
}

std::string ExtensionChange(std::string path, std::string extension) {
    const std::size_t start = ExtensionStart(path);
    if (start != npos)
        path.erase(start);
    path += extension;
    return path;
}

std::string ForceExtension(std::string path, std::string extension) {
    if (EndsInExtension(path, WithoutDot(extension)))
        return path;
    return ExtensionChange(std::move(path), std::move(extension));
}

std::string CheckAppendExtension(std::string path, std::string extension) {
    if (!EndsInExtension(path, WithoutDot(extension)))
        path += extension;
    return path;
}

std::string AppendStringBeforeExtension(std::string path, std::string text) {
    const std::size_t start = ExtensionStart(path);
    path.insert(start == npos ? path.size() : start, text);
    return path;
}

} // namespace Vellox::FileNames
