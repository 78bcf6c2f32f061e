#pragma once

#include <cstdio>
#include <cstdlib>

// Tells the fuzzer which property an input breaks.
#define CHECK(holds)                                                                                                   \
    do {                                                                                                               \
        if (!(holds)) {                                                                                                \
            static_cast<void>(std::fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #holds));          \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
