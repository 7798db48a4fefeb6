// States what must hold for every input; stops the program where it does not.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_PROPERTY(condition)                                                                \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)
