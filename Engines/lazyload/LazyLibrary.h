// A shared library that is loaded at the first call of one of its functions.
//
// The records are made by the build, together with a trampoline for each function. Whoever can do
// without a library asks first whether it is there:
//
//     if (!lazyload::isInstalled("libpulse.so.0")) return …;
#pragma once

#include <cstdint>

namespace TWQuickTime::lazyload {

struct LazyLibrary {
    const char* soname;                ///< "libavcodec.so.59"
    const char* const* functionNames;  ///< one for each trampoline
    void** functions;                  ///< the real functions, null until they are first called
};

/// Whether the library can be loaded; loads it. Any thread.
/// @param soname  the name in its file, as "libpulse.so.0"
bool isInstalled(const char* soname);

}  // namespace TWQuickTime::lazyload

/// Called by a trampoline whose function is not known yet: loads the library unless it is loaded
/// already, remembers the function and returns it. Any thread. Ends the program with a line on
/// standard error when the library or the function is missing, as the system's loader does.
extern "C" __attribute__((visibility("hidden"))) void* twqtResolveLazyCall(
    const TWQuickTime::lazyload::LazyLibrary* library, std::uint32_t functionIndex);
