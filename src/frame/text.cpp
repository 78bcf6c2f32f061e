#include "frame/text.h"

#include <algorithm>
#include <climits>

#include "platform/win32.h"

namespace Vellox {

// A sequence of n bytes never gives more than n units, so one call is enough. Not every system counts the terminator
// behind an unfinished sequence; the unit for that sequence counts.
WideString Utf8ToWide(const std::string& text) {
    const std::size_t capacity = UpToNul(text).size() + 1;
    if (capacity > INT_MAX)
        return {};
    WideString wide(capacity, 0);
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide.data(), static_cast<int>(capacity));
    wide.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    if (!wide.empty() && wide.back() == 0)
        wide.pop_back();
    return wide;
}

// A unit never gives more than three bytes.
std::string WideToUtf8(const WideChar* text) {
    const std::size_t units = WideString::traits_type::length(text);
    if (units == 0 || units >= INT_MAX / 3)
        return {};
    std::string narrow(units * 3 + 1, '\0');
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(size > 0 ? static_cast<std::size_t>(size) - 1 : 0);
    return narrow;
}

WideString WidenBytes(const std::string& text) {
    WideString wide(text.size() + 2, 0);
    std::transform(text.begin(), text.end(), wide.begin(),
                   [](char byte) { return static_cast<WideChar>(static_cast<unsigned char>(byte)); });
    return wide;
}

// Only valid UTF-8 survives the way there and back.
bool IsValidUtf8(const std::string& text) {
    return WideToUtf8(Utf8ToWide(text).c_str()) == UpToNul(text);
}

WideString ShellPath(const std::string& path) {
    if (!IsValidUtf8(path))
        return WidenBytes(std::string(UpToNul(path)));
    WideString wide = Utf8ToWide(path);
    wide.append(2, 0);
    return wide;
}

bool EqualsIgnoringCase(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char one, char other) { return FoldCase(one) == FoldCase(other); });
}

} // namespace Vellox
