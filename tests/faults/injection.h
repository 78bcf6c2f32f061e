#pragma once

#include <functional>
#include <string_view>

namespace Vellox::Testing {

enum class Boundary { Nowhere, Win32, Posix };

// Which calls at which boundary fail, and what they found while it was set.
struct Injection {
    Boundary boundary = Boundary::Nowhere;
    int error = 0;
    long first = 0;
    long last = 0;

    long calls = 0;
    const char* struck = "nothing";  // the first call that failed
    bool couldWait = false;          // whether a signal can interrupt that call
    const char* inherited = nullptr; // a call that made a descriptor which a child process would get

    std::function<bool(std::string_view)> intrudes = nullptr; // in front of which call the intruder comes, once
    std::function<void()> intruder = nullptr;
};

extern Injection injection;

} // namespace Vellox::Testing
