#include "MoviesThread.h"

#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

thread_local std::uint64_t entriesOfThisThread = 0;

}  // namespace

OSErr EnterMoviesOnThread(std::uint32_t) {
    ToolboxCall call("EnterMoviesOnThread");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    ++entriesOfThisThread;
    return call.succeed();
}

OSErr ExitMoviesOnThread() {
    ToolboxCall call("ExitMoviesOnThread");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (entriesOfThisThread == 0)
        return call.fail(movieToolboxUninitialized);
    --entriesOfThisThread;
    return call.succeed();
}

}  // namespace TWQuickTime
