#pragma once

#include <cstddef>
#include <string_view>

namespace songbin {

// The bytes of the character that the text begins with, or 0 if it begins with anything that is not UTF-8.
std::size_t CharacterSize(std::string_view text);

// True if the text begins with a character that may steer a terminal.
bool StartsWithControl(std::string_view text);

} // namespace songbin
