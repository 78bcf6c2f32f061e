#include "frame/text.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

#include "platform/operations.h"

namespace Vellox {
namespace {

// Text up to this length is converted on the stack, which takes no memory, and its result is copied once its size is
// known.
constexpr std::size_t shortText = pathBufferSize;

// The text is handed over with its terminating NUL, which the answer counts: `length` bytes give at most as many units,
// and one more. MultiByteToWideChar of Wine 8 counts none behind a sequence that the text breaks off, such as
// "caf\xE9": it takes the NUL for a part of the sequence.
std::size_t ToWide(const char* text, std::size_t length, WideChar* buffer, std::size_t capacity) {
    const auto size = static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, text, static_cast<int>(length) + 1, buffer, static_cast<int>(capacity)));
    return size > 0 && buffer[size - 1] == 0 ? size - 1 : size;
}

std::size_t ToUtf8(std::basic_string_view<WideChar> text, char* buffer, std::size_t capacity) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), buffer,
                                           static_cast<int>(capacity), nullptr, nullptr);
    return static_cast<std::size_t>(size);
}

} // namespace

// A buffer of one unit for each byte is enough: a character of one, two or three bytes gives one unit, one of four
// bytes two, and of broken UTF-8 a byte gives one U+FFFD at most.
WideArgument::WideArgument(const std::string& text) {
    const std::size_t length = UpToNul(text).size();
    WideChar* buffer = short_;
    if (length >= shortText && length < INT_MAX) {
        long_.resize(length + 1);
        buffer = long_.data();
    }
    const bool isRefused = length == 0 || length >= INT_MAX;
    const std::size_t size = isRefused ? 0 : ToWide(text.c_str(), length, buffer, length + 1);
    buffer[size] = 0;
    text_ = {buffer, size};
}

WideString Utf8ToWide(const std::string& text) {
    return WideString(WideArgument(text).View());
}

// A buffer of three bytes for each unit is enough: a surrogate pair is two units and gives four bytes, and any other
// unit, half a pair as U+FFFD included, gives three at most.
std::string WideToUtf8(const WideChar* units) {
    const std::basic_string_view<WideChar> text(units);
    if (text.empty() || text.size() > INT_MAX / 3)
        return {};
    if (text.size() <= shortText) {
        char buffer[shortText * 3];
        return std::string(buffer, ToUtf8(text, buffer, sizeof buffer));
    }
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(ToUtf8(text, narrow.data(), narrow.size()));
    return narrow;
}

WideString WidenBytes(const std::string& text) {
    WideString wide(text.size() + 2, 0);
    std::transform(text.begin(), text.end(), wide.begin(),
                   [](char byte) { return static_cast<WideChar>(static_cast<unsigned char>(byte)); });
    return wide;
}

bool IsAscii(std::string_view text) {
    unsigned char bits = 0;
    for (const char byte : text)
        bits |= static_cast<unsigned char>(byte);
    return bits < 0x80;
}

// Text that was not valid UTF-8 has U+FFFD in it after the way to UTF-16 and back.
bool IsValidUtf8(const std::string& text) {
    return WideToUtf8(Utf8ToWide(text).c_str()) == UpToNul(text);
}

WideString ShellPath(const std::string& path) {
    WideString wide = Utf8ToWide(path);
    if (WideToUtf8(wide.c_str()) != UpToNul(path))
        return Platform::MayWidenBytes() ? WidenBytes(std::string(UpToNul(path))) : WideString();
    wide.append(2, 0);
    return wide;
}

// The loop goes on behind a difference: without a way out in its middle, the compiler makes vector instructions of it.
bool EqualsIgnoringCase(std::string_view first, std::string_view second) {
    if (first.size() != second.size())
        return false;
    unsigned char difference = 0;
    for (std::size_t index = 0; index < first.size(); ++index)
        difference |= static_cast<unsigned char>(FoldCase(first[index]) ^ FoldCase(second[index]));
    return difference == 0;
}

namespace {

constexpr std::size_t wordSize = sizeof(std::uint64_t);

constexpr std::uint64_t InEachByte(char byte) {
    return 0x0101010101010101U * static_cast<unsigned char>(byte);
}

// The highest bit of each byte of the word that is the wanted one, and no other bit. A byte of the difference is 0
// where the wanted one stands. Adding 0x7F to the lower seven bits of a byte sets its highest bit unless they are all
// 0, and never carries into the next byte; with the byte's own highest bit, that tells every byte that is not 0.
std::uint64_t BytesEqualTo(char wanted, std::uint64_t word) {
    constexpr std::uint64_t lowBits = InEachByte(0x7F);
    const std::uint64_t difference = word ^ InEachByte(wanted);
    return ~(((difference & lowBits) + lowBits) | difference | lowBits);
}

// From the end of the text, eight bytes at a time. On a little-endian processor the last byte in memory is the highest
// of the word, so the first bit that is set, from above, tells the last place.
std::size_t FindLastOfTwo(std::string_view text, char first, char second) {
    static_assert(std::endian::native == std::endian::little);
    std::size_t end = text.size();
    for (; end >= wordSize; end -= wordSize) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + end - wordSize, wordSize);
        const std::uint64_t found = BytesEqualTo(first, word) | BytesEqualTo(second, word);
        if (found != 0)
            return end - 1 - static_cast<std::size_t>(std::countl_zero(found)) / CHAR_BIT;
    }
    while (end > 0 && text[end - 1] != first && text[end - 1] != second)
        --end;
    return end - 1; // npos is one less than 0
}

} // namespace

std::size_t FindLast(std::string_view text, char wanted) {
    return FindLastOfTwo(text, wanted, wanted);
}

std::size_t FindLast(std::basic_string_view<WideChar> text, char wanted) {
    return text.rfind(static_cast<WideChar>(wanted));
}

std::size_t FindLastSeparator(std::string_view text) {
    return FindLastOfTwo(text, '\\', '/');
}

std::size_t FindLastSeparator(std::basic_string_view<WideChar> text) {
    constexpr WideChar separators[] = {'\\', '/', 0};
    return text.find_last_of(separators);
}

} // namespace Vellox
