#include <dlfcn.h>
#include <gtest/gtest.h>
#include <magic.h>

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/avutil.h>
#include <libavutil/macros.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

#include <string>
#include <thread>
#include <vector>

#include "Engines/lazyload/LazyLibrary.h"

namespace {

bool isLoaded(const char* soname) {
    return dlopen(soname, RTLD_LAZY | RTLD_NOLOAD) != nullptr;
}

#if defined(__x86_64__)
TEST(LazyLibrary, IsLoadedByTheFirstCallAndNotBefore) {
    EXPECT_FALSE(isLoaded("libmagic.so.1"));
    EXPECT_EQ(magic_version(), MAGIC_VERSION);
    EXPECT_TRUE(isLoaded("libmagic.so.1"));
}
#endif

TEST(LazyLibrary, TellsWhetherALibraryIsThere) {
    EXPECT_TRUE(
        TWQuickTime::lazyload::isInstalled("libavutil.so." AV_STRINGIFY(LIBAVUTIL_VERSION_MAJOR)));
    EXPECT_FALSE(TWQuickTime::lazyload::isInstalled("libthatnobodyhas.so.1"));
}

TEST(LazyLibrary, PassesIntegersReferencesAndResults) {
    EXPECT_EQ(av_rescale_rnd(7, 3, 2, AV_ROUND_UP), 11);
    int first = 0;
    int second = 0;
    EXPECT_EQ(av_reduce(&first, &second, 4, 6, 10), 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 3);
}

TEST(LazyLibrary, PassesAllKindsOfVariadicArgumentsInTheFirstCallAsInLaterOnes) {
    for (int call = 0; call < 2; ++call) {
        char* text = av_asprintf("%d %s %.2f %d %.1f %d %.3f %d %.4f %d", 1, "two", 3.5, 4, 5.5, 6,
                                 7.5, 8, 9.5, 10);
        EXPECT_STREQ(text, "1 two 3.50 4 5.5 6 7.500 8 9.5000 10");
        av_free(text);
    }
}

TEST(LazyLibrary, IsFirstCalledByManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::vector<int64_t> results(8);
    for (std::size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&results, i] { results[i] = av_gcd(int64_t(i + 1) * 6, 9 * 2); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(results, (std::vector<int64_t>{6, 6, 18, 6, 6, 18, 6, 6}));
}

}  // namespace
