#include "Engines/capture/Private/PulseConnection.h"

#include <algorithm>

#include "Engines/capture/CaptureClock.h"
#include "Engines/lazyload/LazyLibrary.h"

namespace TWQuickTime::capture {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr std::int64_t kPatienceInNanoseconds = 2'000'000'000;

}  // namespace

Expected<std::unique_ptr<PulseConnection>> PulseConnection::open() {
    if (!lazyload::isInstalled("libpulse.so.0"))
        return Failure{FailureKind::notAvailable, "libpulse is not installed"};
    std::unique_ptr<PulseConnection> connection(new PulseConnection);
    connection->loop_.reset(pa_mainloop_new());
    if (!connection->loop_)
        return Failure{FailureKind::notAvailable, "libpulse gave no main loop"};
    connection->context_.reset(
        pa_context_new(pa_mainloop_get_api(connection->loop_.get()), "TWQuickTime"));
    pa_context* const context = connection->context();
    if (!context || pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return Failure{FailureKind::notAvailable, "no sound server"};
    connection->runUntil(
        [&] {
            const pa_context_state_t state = pa_context_get_state(context);
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        },
        kPatienceInNanoseconds);
    if (!connection->isReady())
        return Failure{FailureKind::notAvailable, "no sound server answers"};
    return connection;
}

bool PulseConnection::isReady() const {
    return pa_context_get_state(context()) == PA_CONTEXT_READY;
}

bool PulseConnection::runUntil(const std::function<bool()>& done, std::int64_t nanoseconds) {
    const std::int64_t deadline = CaptureClock::system().nanoseconds() + nanoseconds;
    while (!done()) {
        const std::int64_t left = deadline - CaptureClock::system().nanoseconds();
        if (left <= 0 || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context())))
            return false;
        const auto microseconds = static_cast<int>(std::max<std::int64_t>(left / 1000, 1));
        if (pa_mainloop_prepare(loop_.get(), microseconds) < 0 ||
            pa_mainloop_poll(loop_.get()) < 0 || pa_mainloop_dispatch(loop_.get()) < 0)
            return false;
    }
    return true;
}

bool PulseConnection::finish(pa_operation* operation) {
    if (!operation)
        return false;
    const bool finished =
        runUntil([&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; },
                 kPatienceInNanoseconds);
    if (!finished)
        pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return finished;
}

Failure PulseConnection::failure(const std::string& what) const {
    const int error = pa_context_errno(context());
    FailureKind kind = FailureKind::notAvailable;
    if (error == PA_ERR_NOENTITY || error == PA_ERR_KILLED)
        kind = FailureKind::notFound;
    else if (error == PA_ERR_ACCESS)
        kind = FailureKind::permission;
    return {kind, what + ": " + pa_strerror(error)};
}

}  // namespace TWQuickTime::capture
