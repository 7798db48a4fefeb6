// A connection to the sound server, driven by whoever holds it: it has no thread of its own.
#pragma once

#include <pulse/pulseaudio.h>

#include <cstdint>
#include <functional>
#include <memory>

#include "Engines/result/Result.h"

namespace TWQuickTime::capture {

/// Used by one thread at a time.
class PulseConnection {
  public:
    /// `notAvailable` when no server answers, or the client library is not installed.
    static result::Expected<std::unique_ptr<PulseConnection>> open();

    pa_context* context() const { return context_.get(); }
    /// Lets the connection work until `done` says so.
    /// @return false when the time ran out or the server went away
    bool runUntil(const std::function<bool()>& done, std::int64_t nanoseconds);
    /// Waits for an operation, whose result its callback has by then; null is a failed one.
    bool finish(pa_operation* operation);
    bool isReady() const;
    /// Why the last call on this connection failed.
    result::Failure failure(const std::string& what) const;

  private:
    struct Release {
        void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
        void operator()(pa_context* context) const {
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
    };
    PulseConnection() = default;

    std::unique_ptr<pa_mainloop, Release> loop_;
    std::unique_ptr<pa_context, Release> context_;
};

}  // namespace TWQuickTime::capture
