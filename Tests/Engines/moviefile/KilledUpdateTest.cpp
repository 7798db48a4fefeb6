// Updates of a real file by a real program that is killed without warning.

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/MediaDataWriter.h"
#include "Engines/moviefile/MovieAtomUpdate.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "UpdateLayouts.h"

namespace TWQuickTime::moviefile::test {
namespace {

using TWQuickTime::test::TemporaryDirectory;

/// The samples of the n-th movie.
Bytes samplesOf(unsigned n) {
    return Bytes(3000 + n % 5000, static_cast<std::byte>('A' + n % 26));
}

/// Adds samples to the file and makes a movie that says which and where.
bool updateTo(Storage& file, unsigned n) {
    MediaDataWriter writer(file);
    const auto offset = writer.append(samplesOf(n));
    if (!offset || !writer.finish())
        return false;
    const std::string text = std::to_string(n) + "@" + std::to_string(*offset);
    const Bytes movie = movieAtom(text, 64 + n * 37 % 20'000);
    return replaceMovieAtom(file, {.movieAtom = movie}).ok();
}

/// The number of the movie that the file opens as, after a look at its samples; −1 for none.
int movieIn(const std::string& path) {
    auto file = FileStorage::open(path, Access::read);
    if (!file)
        return -1;
    const std::string text = opensAs(**file);
    const std::size_t at = text.find('@');
    if (at == std::string::npos)
        return -1;
    const auto n = static_cast<unsigned>(std::stoul(text));
    Bytes samples(samplesOf(n).size());
    if (!(*file)->readExactly(std::stoull(text.substr(at + 1)), samples) || samples != samplesOf(n))
        return -1;
    return static_cast<int>(n);
}

/// Updates the file from a movie on until it is killed, with a sign on the pipe before each update.
[[noreturn]] void updateForEver(const std::string& path, unsigned from, int pipeEnd) {
    auto file = FileStorage::open(path, Access::readWrite);
    for (unsigned n = from; file; ++n) {
        if (write(pipeEnd, "u", 1) != 1 || !updateTo(**file, n))
            break;
    }
    _exit(1);
}

TEST(KilledUpdate, LeavesAWholeMovieAtWhateverMomentTheProgramIsKilled) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("movie");
    {
        auto file = FileStorage::createNew(path);
        ASSERT_TRUE(file);
        ASSERT_TRUE(updateTo(**file, 0));
    }
    std::mt19937 generator(20261120);
    int last = 0;
    for (int round = 0; round < 60; ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(ends[0]);
            updateForEver(path, static_cast<unsigned>(last + 1), ends[1]);
        }
        close(ends[1]);
        // Some updates run through; the next one is met at a moment that differs from round to
        // round.
        char sign = 0;
        for (unsigned signs = 1 + generator() % 3; signs > 0; --signs)
            ASSERT_EQ(read(ends[0], &sign, 1), 1);
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::microseconds(generator() % 4000);
        while (std::chrono::steady_clock::now() < end) {
        }
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the updates failed by themselves";
        close(ends[0]);
        const int now = movieIn(path);
        ASSERT_GE(now, last) << "round " << round;
        last = now;
    }
    EXPECT_GT(last, 30);
}

TEST(KilledUpdate, AFileThatMayNotGrowKeepsItsMovie) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("movie");
    {
        auto file = FileStorage::createNew(path);
        ASSERT_TRUE(file);
        ASSERT_TRUE(updateTo(**file, 5));
    }
    for (const rlim_t room : {0, 4, 20, 1000, 3060, 3100}) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            signal(SIGXFSZ, SIG_IGN);
            auto file = FileStorage::open(path, Access::readWrite);
            if (!file)
                _exit(2);
            const rlim_t limit = *(*file)->sizeInBytes() + room;
            const rlimit limits{limit, limit};
            setrlimit(RLIMIT_FSIZE, &limits);
            _exit(updateTo(**file, 70) ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << room;
        EXPECT_EQ(movieIn(path), 5) << room;
    }
    auto file = FileStorage::open(path, Access::readWrite);
    ASSERT_TRUE(file);
    EXPECT_TRUE(updateTo(**file, 71));
    EXPECT_EQ(movieIn(path), 71);
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
