#pragma once

#include <cstdlib>

// Every use of the library that could need something it keeps. False, with a word on the standard error, if one fails.
extern "C" bool UseLibrary();

// As a static object of a host, older than the host's first call: calls when the host's exit handlers and destructors
// run, one as an exit handler and one from its own destructor.
class CallsToTheEnd {
public:
    CallsToTheEnd() noexcept { static_cast<void>(std::atexit(CallAgain)); }
    CallsToTheEnd(const CallsToTheEnd&) = delete;
    CallsToTheEnd& operator=(const CallsToTheEnd&) = delete;
    ~CallsToTheEnd() { CallAgain(); }

    static int Begin(bool (*use)()) {
        use_ = use;
        return use() ? 0 : 1;
    }

private:
    static void CallAgain() {
        if (use_ != nullptr && !use_())
            std::_Exit(2);
    }

    static inline bool (*use_)() = nullptr;
};
