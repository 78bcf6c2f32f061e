#include "platform/posix/base/utf.h"

#include <algorithm>
#include <type_traits>

#include "platform/posix/base/errors.h"

namespace Vellox::Posix {
namespace {

constexpr char32_t replacement = 0xFFFD;

template <typename Unit> bool IsAscii(Unit unit) {
    return static_cast<std::make_unsigned_t<Unit>>(unit) < 0x80;
}

// Path text is nearly always ASCII, and this loop copies it at once. It goes to the end also when a unit was not ASCII,
// in which case the caller converts again: a loop without a way out in its middle becomes vector instructions.
template <typename From, typename To>
bool CopyIfAscii(const From* __restrict text, std::size_t length, To* __restrict output) {
    std::make_unsigned_t<From> bits = 0;
    for (std::size_t index = 0; index < length; ++index) {
        const auto unit = static_cast<std::make_unsigned_t<From>>(text[index]);
        bits |= unit;
        output[index] = static_cast<To>(unit);
    }
    return IsAscii(bits);
}

unsigned char ByteAt(const char* text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

struct LeadByte {
    std::size_t trailing;
    char32_t bits;
    unsigned char lowestSecond;
    unsigned char highestSecond;
};

// The range of the second byte is narrower behind four lead bytes. Behind E0 and F0 lower ones would be overlong forms,
// behind ED higher ones would be surrogates, behind F4 code points beyond U+10FFFF.
bool ReadLeadByte(unsigned char byte, LeadByte& lead) {
    if (byte >= 0xC2 && byte <= 0xDF)
        lead = {1, byte & 0x1FU, 0x80, 0xBF};
    else if (byte >= 0xE0 && byte <= 0xEF)
        lead = {2, byte & 0x0FU, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    else if (byte >= 0xF0 && byte <= 0xF4)
        lead = {3, byte & 0x07U, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    else
        return false;
    return true;
}

char32_t ReadCodePoint(const char* text, std::size_t length, std::size_t& position) {
    const unsigned char first = ByteAt(text, position++);
    if (first < 0x80)
        return first;
    LeadByte lead{};
    if (!ReadLeadByte(first, lead))
        return replacement;
    char32_t point = lead.bits;
    unsigned char lowest = lead.lowestSecond;
    unsigned char highest = lead.highestSecond;
    for (std::size_t read = 0; read < lead.trailing; ++read) {
        if (position == length || ByteAt(text, position) < lowest || ByteAt(text, position) > highest)
            return replacement;
        point = (point << 6) | (ByteAt(text, position++) & 0x3FU);
        lowest = 0x80;
        highest = 0xBF;
    }
    return point;
}

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t ReadCodePoint(const WCHAR* text, std::size_t length, std::size_t& position) {
    const char32_t first = text[position++];
    if (!IsHighSurrogate(first))
        return IsLowSurrogate(first) ? replacement : first;
    if (position == length || !IsLowSurrogate(text[position]))
        return replacement;
    return 0x10000 + ((first - 0xD800) << 10) + (text[position++] - 0xDC00U);
}

std::size_t WriteUnits(char32_t point, WCHAR (&units)[4]) {
    if (point < 0x10000) {
        units[0] = static_cast<WCHAR>(point);
        return 1;
    }
    units[0] = static_cast<WCHAR>(0xD800 + ((point - 0x10000) >> 10));
    units[1] = static_cast<WCHAR>(0xDC00 + ((point - 0x10000) & 0x3FF));
    return 2;
}

std::size_t WriteUnits(char32_t point, char (&units)[4]) {
    if (point < 0x80) {
        units[0] = static_cast<char>(point);
        return 1;
    }
    const std::size_t count = point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
    for (std::size_t index = count - 1; index > 0; --index) {
        units[index] = static_cast<char>(0x80 | (point & 0x3F));
        point >>= 6;
    }
    const unsigned char leadMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    units[0] = static_cast<char>(leadMarks[count] | point);
    return count;
}

template <typename From, typename To>
std::size_t Convert(const From* text, std::size_t length, To* output, std::size_t capacity) {
    if (length <= capacity && CopyIfAscii(text, length, output))
        return length;
    std::size_t written = 0;
    std::size_t position = 0;
    while (position < length) {
        if (IsAscii(text[position]) && written < capacity) {
            output[written++] = static_cast<To>(text[position++]);
            continue;
        }
        To units[4];
        const std::size_t count = WriteUnits(ReadCodePoint(text, length, position), units);
        if (capacity - written < count)
            return doesNotFit;
        std::copy_n(units, count, output + written);
        written += count;
    }
    return written;
}

} // namespace

std::size_t DecodeUtf8(const char* text, std::size_t length, WCHAR* output, std::size_t capacity) {
    return Convert(text, length, output, capacity);
}

std::size_t EncodeUtf8(const WCHAR* text, std::size_t length, char* output, std::size_t capacity) {
    return Convert(text, length, output, capacity);
}

} // namespace Vellox::Posix
