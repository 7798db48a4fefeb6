#include "RunningProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace TWQuickTime::test {

RunningProgram::RunningProgram(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe: " + std::string(std::strerror(errno)));
    errors_ = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 2);
    const int failure = posix_spawnp(&child_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failure != 0) {
        close(errors_);
        throw std::runtime_error(arguments.front() + ": " + std::strerror(failure));
    }
}

RunningProgram::~RunningProgram() {
    if (child_ > 0) {
        signal(SIGKILL);
        wait();
    }
    close(errors_);
}

std::optional<std::string> RunningProgram::nextErrorLine() {
    for (;;) {
        if (const std::size_t end = unread_.find('\n'); end != std::string::npos) {
            std::string line = unread_.substr(0, end);
            unread_.erase(0, end + 1);
            return line;
        }
        char buffer[4096];
        const ssize_t count = read(errors_, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return std::nullopt;
        unread_.append(buffer, static_cast<std::size_t>(count));
    }
}

void RunningProgram::signal(int number) const {
    kill(child_, number);
}

int RunningProgram::wait() {
    // A program that still has something to say must not wait for a reader.
    while (nextErrorLine()) {
    }
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace TWQuickTime::test
