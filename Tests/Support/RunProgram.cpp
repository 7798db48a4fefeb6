#include "RunProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

extern char** environ;

namespace TWQuickTime::test {
namespace {

/// The two ends of a pipe, closed with the object.
struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe: " + std::string(std::strerror(errno)));
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void closeEnd(int which) {
        if (ends[which] >= 0)
            close(ends[which]);
        ends[which] = -1;
    }
};

void readBoth(Pipe& output, Pipe& errors, ProgramResult& result) {
    pollfd waiting[2] = {{output.ends[0], POLLIN, 0}, {errors.ends[0], POLLIN, 0}};
    std::string* texts[2] = {&result.output, &result.errors};
    int open = 2;
    char buffer[65536];
    while (open > 0) {
        if (poll(waiting, 2, -1) < 0 && errno != EINTR)
            throw std::runtime_error("poll: " + std::string(std::strerror(errno)));
        for (int i = 0; i < 2; ++i) {
            if (waiting[i].fd < 0 || waiting[i].revents == 0)
                continue;
            const ssize_t count = read(waiting[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                texts[i]->append(buffer, static_cast<std::size_t>(count));
            } else {
                waiting[i].fd = -1;
                --open;
            }
        }
    }
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    // Later entries would be overshadowed by earlier ones of the same name, so ours come first.
    std::vector<char*> envp;
    for (const std::string& entry : environment)
        envp.push_back(const_cast<char*>(entry.c_str()));
    for (char** entry = environ; *entry; ++entry) {
        const std::string text(*entry);
        bool replaced = false;
        for (const std::string& ours : environment)
            replaced =
                replaced || text.compare(0, ours.find('=') + 1, ours, 0, ours.find('=') + 1) == 0;
        if (!replaced)
            envp.push_back(*entry);
    }
    envp.push_back(nullptr);

    Pipe output;
    Pipe errors;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output.ends[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errors.ends[1], 2);
    pid_t child = -1;
    const int failure = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error(arguments.front() + ": " + std::strerror(failure));
    output.closeEnd(1);
    errors.closeEnd(1);

    ProgramResult result;
    readBoth(output, errors, result);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

void runFfmpeg(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"ffmpeg", "-v", "error", "-nostdin", "-y"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const ProgramResult result = runProgram(command);
    if (result.exitStatus != 0)
        throw std::runtime_error("ffmpeg: " + result.errors);
}

std::string sampleMediaFolder() {
    const char* folder = std::getenv("TWQT_MEDIA");
    return folder ? folder : "";
}

}  // namespace TWQuickTime::test
