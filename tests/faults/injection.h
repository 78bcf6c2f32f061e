#pragma once

#include <functional>
#include <string_view>

namespace Vellox::Testing {

// Which calls fail, and what they found while it was on.
struct Injection {
    bool isOn = false;
    int error = 0;
    long first = 0;
    long last = 0;

    long calls = 0;
    const char* struck = "nothing"; // the first call that failed
    bool couldWait = false;         // whether a signal can interrupt that call

    std::function<bool(std::string_view)> intrudes = nullptr; // in front of which call the intruder comes, once
    std::function<void()> intruder = nullptr;
};

extern Injection injection;

} // namespace Vellox::Testing
