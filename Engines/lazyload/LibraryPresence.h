// Whether a library is there that not every machine has.
//
//     if (!lazyload::canLoad("libpulse.so.0")) return notAvailable;
//     pa_threaded_mainloop_new();      // now this can be called
#pragma once

namespace TWQuickTime::lazyload {

/// Loads a library, unless that was done before, and keeps it. Any thread.
bool canLoad(const char* soname);

}  // namespace TWQuickTime::lazyload
