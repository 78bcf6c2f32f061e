#include "utf8.h"

namespace songbin {
namespace {

unsigned ByteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

bool Continues(unsigned byte) {
    return (byte & 0xC0U) == 0x80U;
}

std::size_t SizeByLead(unsigned lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

// Too long a form, a surrogate or a value beyond U+10FFFF shows in the second byte.
bool IsSecondByte(unsigned lead, unsigned second) {
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= lowest && second <= highest;
}

} // namespace

std::size_t CharacterSize(std::string_view text) {
    if (text.empty())
        return 0;
    const unsigned lead = ByteAt(text, 0);
    const std::size_t size = SizeByLead(lead);
    if (size > text.size() || (size > 1 && !IsSecondByte(lead, ByteAt(text, 1))))
        return 0;
    for (std::size_t position = 2; position < size; ++position)
        if (!Continues(ByteAt(text, position)))
            return 0;
    return size;
}

bool StartsWithControl(std::string_view text) {
    if (text.empty())
        return false;
    const unsigned first = ByteAt(text, 0);
    const bool isSecondSet = first == 0xC2 && text.size() > 1 && ByteAt(text, 1) <= 0x9F;
    return first < 0x20 || first == 0x7F || isSecondSet;
}

} // namespace songbin
