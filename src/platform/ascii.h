#pragma once

namespace Vellox {

// ASCII alone changes case here, whatever the locale of the host.
inline char FoldCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

} // namespace Vellox
