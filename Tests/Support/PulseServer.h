// A sound server of a test's own, without any hardware, gone with the object.
//
// While it lives it is the server of this process and of the programs that the process starts.
//
//     if (!PulseServer::isInstalled()) GTEST_SKIP() << "pulseaudio is not installed";
//     PulseServer server({"module-null-sink sink_name=null rate=48000 norewinds=1"});
//     server.control({"set-default-sink", "null"});
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "EnvironmentVariables.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::test {

class PulseServer {
  public:
    static bool isInstalled();

    /// Returns when the server answers; throws when it does not.
    /// @param modules  loaded at the start, besides the protocol; give every null sink
    ///     `norewinds=1`, or the clock of a new stream stands still at first
    explicit PulseServer(const std::vector<std::string>& modules);
    ~PulseServer();
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    /// Runs pactl with the arguments; throws with its words when it fails.
    /// @return what it printed: the index of a module for {"load-module", …}
    std::string control(std::vector<std::string> arguments) const;
    /// Ends the server before its time.
    void stop();

  private:
    TemporaryDirectory folder_;
    EnvironmentVariables environment_;
    pid_t process_ = -1;
};

}  // namespace TWQuickTime::test
