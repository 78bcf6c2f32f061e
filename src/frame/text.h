#pragma once

#include <string>
#include <string_view>

#include "platform/ascii.h"
#include "platform/limits.h"
#include "vellox/frame.h"

// How narrow text reaches the system. Every function takes one of four routes:
//
//   UTF-8     Utf8ToWide, then the wide call; what comes back, through WideToUtf8
//   narrow    the bytes as they are, to the narrow call
//   widening  ShellPath, then the shell operation
//   wide      wide text as it is, to the wide call
//
// The same bytes can mean different names on different routes. The route is part of what a function promises.

namespace Vellox {

// What Utf8ToWide gives, on the stack for the time of a call. It takes memory only for text longer than any path.
class WideArgument {
public:
    explicit WideArgument(const std::string& text);
    WideArgument(const WideArgument&) = delete;
    WideArgument& operator=(const WideArgument&) = delete;
    const WideChar* c_str() const { return text_.data(); }
    std::basic_string_view<WideChar> View() const { return text_; }

private:
    WideChar short_[pathBufferSize];
    WideString long_;
    std::basic_string_view<WideChar> text_;
};

// UTF-16 of the text up to its first NUL, each ill-formed sequence as U+FFFD; empty if the system refuses the text.
WideString Utf8ToWide(const std::string& text);

bool IsAscii(std::string_view text);
bool IsValidUtf8(const std::string& text);

// UTF-8 of NUL-terminated UTF-16, each unpaired surrogate as U+FFFD.
std::string WideToUtf8(const WideChar* text);

// One unit of the same value for each byte, whatever the locale, and two NULs behind them.
WideString WidenBytes(const std::string& text);

// A path as the shell operation takes it, a list of one closed by a second NUL: valid UTF-8 decoded, so that it means
// what it means on the UTF-8 route, and anything else by WidenBytes; or empty text, which names nothing, on a system
// where WidenBytes would make the name of another entry.
WideString ShellPath(const std::string& path);

// The text up to its first NUL, which is where the system stops reading.
inline std::string_view UpToNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

bool EqualsIgnoringCase(std::string_view first, std::string_view second);

// Where the last such unit stands; npos if there is none. A word of bytes is looked through at once.
std::size_t FindLast(std::string_view text, char wanted);
std::size_t FindLast(std::basic_string_view<WideChar> text, char wanted);

// The same for the last separator of either kind.
std::size_t FindLastSeparator(std::string_view text);
std::size_t FindLastSeparator(std::basic_string_view<WideChar> text);

} // namespace Vellox
