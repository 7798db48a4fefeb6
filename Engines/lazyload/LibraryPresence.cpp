#include "Engines/lazyload/LibraryPresence.h"

#include <dlfcn.h>

namespace TWQuickTime::lazyload {

bool canLoad(const char* soname) {
    return dlopen(soname, RTLD_LAZY | RTLD_LOCAL) != nullptr;
}

}  // namespace TWQuickTime::lazyload
