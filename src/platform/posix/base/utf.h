#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/posix/win32.h"

namespace Vellox::Posix {

inline constexpr std::size_t doesNotFit = SIZE_MAX;

// Converts between UTF-8 and UTF-16; each maximal ill-formed subpart becomes one U+FFFD. Gives the number of units
// of the result, or doesNotFit.
std::size_t DecodeUtf8(const char* text, std::size_t length, WCHAR* output, std::size_t capacity);
std::size_t EncodeUtf8(const WCHAR* text, std::size_t length, char* output, std::size_t capacity);

// True for the second and every later byte of a character.
inline bool IsContinuationByte(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

inline std::size_t WideLength(const WCHAR* text) {
    return std::char_traits<WCHAR>::length(text);
}

} // namespace Vellox::Posix
