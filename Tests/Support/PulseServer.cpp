#include "PulseServer.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "RunProgram.h"

extern char** environ;

namespace TWQuickTime::test {
namespace {

constexpr auto kLongestStart = std::chrono::seconds(20);
constexpr auto kBetweenAttempts = std::chrono::milliseconds(20);

bool answers(const char* program) {
    return runProgram({program, "--version"}).exitStatus == 0;
}

pid_t spawnQuietly(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    pid_t process = -1;
    const int error = posix_spawnp(&process, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error(arguments.front() + " could not be started");
    return process;
}

}  // namespace

bool PulseServer::isInstalled() {
    return answers("pulseaudio") && answers("pactl");
}

PulseServer::PulseServer(const std::vector<std::string>& modules) {
    environment_.set("XDG_RUNTIME_DIR", folder_.path().string());
    environment_.set("HOME", folder_.path().string());
    environment_.set("PULSE_SERVER", std::nullopt);
    environment_.set("PULSE_RUNTIME_PATH", std::nullopt);
    std::vector<std::string> arguments = {"pulseaudio",      "-n",
                                          "--daemonize=no",  "--exit-idle-time=-1",
                                          "--disallow-exit", "--use-pid-file=no"};
    for (const std::string& module : modules)
        arguments.push_back("--load=" + module);
    arguments.emplace_back("--load=module-native-protocol-unix");
    process_ = spawnQuietly(arguments);
    const auto start = std::chrono::steady_clock::now();
    while (runProgram({"pactl", "info"}).exitStatus != 0) {
        if (std::chrono::steady_clock::now() - start > kLongestStart) {
            stop();
            throw std::runtime_error("pulseaudio does not answer");
        }
        std::this_thread::sleep_for(kBetweenAttempts);
    }
}

PulseServer::~PulseServer() {
    stop();
}

void PulseServer::stop() {
    if (process_ <= 0)
        return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

std::string PulseServer::control(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "pactl");
    const ProgramResult result = runProgram(arguments);
    if (result.exitStatus != 0)
        throw std::runtime_error("pactl: " + result.errors);
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

}  // namespace TWQuickTime::test
