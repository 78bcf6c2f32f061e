#pragma once

#include <string>

namespace Vellox::FileNames {

// The first of stem + tail, stem + beforeNumber + n + tail for n from 1, that is not taken; empty if there is none.
std::string ComposeFreeName(std::string stem, const std::string& tail, const char* beforeNumber,
                            bool (*isTaken)(const std::string& path));

} // namespace Vellox::FileNames
