#include "faults/injection.h"

#include <cerrno>
#include <cstdint>
#include <utility>

namespace Vellox::Testing {

Injection injection;

namespace {

bool Strikes(const char* name, bool canWait) {
    const int error = errno;
    if (injection.intruder && injection.intrudes(name))
        std::exchange(injection.intruder, nullptr)();
    errno = error;
    if (!injection.isOn)
        return false;
    const long call = ++injection.calls;
    if (call < injection.first || call > injection.last)
        return false;
    if (call == injection.first) {
        injection.struck = name;
        injection.couldWait = canWait;
    }
    errno = injection.error;
    return true;
}

} // namespace
} // namespace Vellox::Testing

using namespace Vellox::Testing;
using Word = std::intptr_t;

// Every argument and result is a word, and none of the calls has more than seven: one form fits all.
#define WRAP(name, waits, callsWhenStruck, callsOtherwise, failure)                                                    \
    extern "C" Word __real_##name(Word, Word, Word, Word, Word, Word, Word);                                           \
    extern "C" Word __wrap_##name(Word a, Word b, Word c, Word d, Word e, Word f, Word g) {                            \
        if (!Strikes(#name, waits))                                                                                    \
            return (callsOtherwise) ? __real_##name(a, b, c, d, e, f, g) : 0;                                          \
        if (const int error = errno; callsWhenStruck) {                                                                \
            __real_##name(a, b, c, d, e, f, g);                                                                        \
            errno = error;                                                                                             \
        }                                                                                                              \
        return failure;                                                                                                \
    }
#define WAITING(name, failure) WRAP(name, true, false, true, failure)
#define SYNCING(name, failure) WRAP(name, true, false, false, failure)
#define POSIX(name, failure) WRAP(name, false, false, true, failure)
#define CLOSING(name, failure) WRAP(name, false, true, true, failure)
#include "faults/calls.def"
