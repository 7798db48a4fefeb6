#include "Engines/lazyload/LazyLibrary.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

bool TWQuickTime::lazyload::isInstalled(const char* soname) {
    return dlopen(soname, RTLD_LAZY | RTLD_LOCAL) != nullptr;
}

extern "C" void* twqtResolveLazyCall(const TWQuickTime::lazyload::LazyLibrary* library,
                                     std::uint32_t functionIndex) {
    // Asking again for a loaded library is cheap, and is the loader's own lock.
    void* const loaded = dlopen(library->soname, RTLD_LAZY | RTLD_LOCAL);
    void* const function = loaded ? dlsym(loaded, library->functionNames[functionIndex]) : nullptr;
    if (!function) {
        std::fprintf(stderr, "TWQuickTime: %s\n", dlerror());
        std::abort();
    }
    std::atomic_ref(library->functions[functionIndex]).store(function, std::memory_order_release);
    return function;
}
