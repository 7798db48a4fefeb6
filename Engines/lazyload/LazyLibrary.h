// A shared library that is loaded at the first call of one of its functions.
//
// The records are made by the build, together with a trampoline for each function; nothing else
// uses this header.
#pragma once

#include <cstdint>

namespace TWQuickTime::lazyload {

struct LazyLibrary {
    const char* soname;                ///< "libavcodec.so.59"
    const char* const* functionNames;  ///< one for each trampoline
    void** functions;                  ///< the real functions, null until they are first called
};

}  // namespace TWQuickTime::lazyload

/// Called by a trampoline whose function is not known yet: loads the library unless it is loaded
/// already, remembers the function and returns it. Any thread. Ends the program with a line on
/// standard error when the library or the function is missing, as the system's loader does.
extern "C" __attribute__((visibility("hidden"))) void* twqtResolveLazyCall(
    const TWQuickTime::lazyload::LazyLibrary* library, std::uint32_t functionIndex);
