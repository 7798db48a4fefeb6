#include "Engines/transcode/ScatteredStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace TWQuickTime::transcode {
namespace {

using Bytes = std::vector<std::byte>;

Bytes randomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    std::ranges::generate(bytes, [&] { return static_cast<std::byte>(random()); });
    return bytes;
}

void append(Bytes& to, std::span<const std::byte> bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

/// The packet in pieces of so many bytes behind headers, as in a transport stream.
Bytes scattered(std::span<const std::byte> packet, std::size_t piece, std::size_t header) {
    Bytes file;
    for (unsigned i = 0; !packet.empty(); ++i) {
        append(file, randomBytes(header, 1000 + i));
        const std::size_t length = std::min(piece, packet.size());
        append(file, packet.first(length));
        packet = packet.subspan(length);
    }
    return file;
}

std::shared_ptr<timeline::MemorySampleStore> fileOf(Bytes bytes) {
    return std::make_shared<timeline::MemorySampleStore>(std::move(bytes));
}

Bytes readAll(const ScatteredStore& store, std::uint64_t offset, std::size_t size) {
    Bytes bytes(size);
    const auto status = store.read(offset, bytes);
    EXPECT_TRUE(status) << status.failure().message;
    return bytes;
}

TEST(ScatteredStore, ReadsPiecesFromTheFileAndKeepsNothing) {
    const Bytes packet = randomBytes(100'000, 1);
    ScatteredStore store(fileOf(scattered(packet, 184, 4)));
    const auto offset = store.add(0, packet);
    ASSERT_TRUE(offset);
    EXPECT_EQ(*offset, 0u);
    EXPECT_EQ(store.size(), packet.size());
    EXPECT_EQ(store.keptBytes(), 0u);
    EXPECT_EQ(readAll(store, 0, packet.size()), packet);
}

TEST(ScatteredStore, ReadsFromAnyPlaceToAnyPlace) {
    for (const std::size_t piece : {17, 184, 2'000, 40'000, 70'000}) {
        const Bytes packet = randomBytes(90'001, 2);
        ScatteredStore store(fileOf(scattered(packet, piece, 9)));
        ASSERT_TRUE(store.add(0, packet));
        std::mt19937 random(3);
        for (int i = 0; i < 300; ++i) {
            const std::size_t from = random() % packet.size();
            const std::size_t length = random() % (packet.size() - from) + 1;
            const auto start = packet.begin() + static_cast<std::ptrdiff_t>(from);
            ASSERT_EQ(readAll(store, from, length),
                      Bytes(start, start + static_cast<std::ptrdiff_t>(length)))
                << "pieces of " << piece << ", " << length << " bytes from " << from;
        }
    }
}

TEST(ScatteredStore, KeepsOnlyWhatTheFileDoesNotHave) {
    const Bytes first = randomBytes(5'000, 4), second = randomBytes(7'000, 5);
    Bytes file = scattered(first, 184, 4);
    append(file, scattered(second, 184, 4));
    Bytes packet = randomBytes(4, 6);
    append(packet, first);
    append(packet, randomBytes(4, 7));
    append(packet, second);
    ScatteredStore store(fileOf(file));
    ASSERT_TRUE(store.add(0, packet));
    // The end of a piece that is too short to be told from what may stand anywhere is kept too.
    EXPECT_GE(store.keptBytes(), 8u);
    EXPECT_LE(store.keptBytes(), 8u + 2 * 15);
    EXPECT_EQ(readAll(store, 0, packet.size()), packet);
}

TEST(ScatteredStore, KeepsPacketsThatAreNowhere) {
    const Bytes packet = randomBytes(3'000, 8);
    ScatteredStore store(fileOf(randomBytes(10'000, 9)));
    ASSERT_TRUE(store.add(0, packet));
    ASSERT_TRUE(store.add(20'000, packet));
    EXPECT_EQ(store.keptBytes(), 2 * packet.size());
    EXPECT_EQ(readAll(store, packet.size(), packet.size()), packet);
}

TEST(ScatteredStore, FindsPacketsInAnyOrderOfTheFile) {
    const Bytes first = randomBytes(30'000, 10), second = randomBytes(400'000, 11);
    Bytes file = scattered(first, 2'028, 20);
    const std::uint64_t secondPosition = file.size();
    append(file, scattered(second, 2'028, 20));
    ScatteredStore store(fileOf(file));
    ASSERT_TRUE(store.add(secondPosition, second));
    ASSERT_TRUE(store.add(0, first));
    EXPECT_EQ(store.keptBytes(), 0u);
    EXPECT_EQ(readAll(store, 0, second.size()), second);
    EXPECT_EQ(readAll(store, second.size(), first.size()), first);
}

TEST(ScatteredStore, RefusesToReadBehindItsEnd) {
    ScatteredStore store(fileOf(randomBytes(100, 12)));
    Bytes bytes(1);
    EXPECT_FALSE(store.read(0, bytes));
    EXPECT_TRUE(store.read(0, {}));
    ASSERT_TRUE(store.add(0, randomBytes(100, 12)));
    EXPECT_TRUE(store.read(99, bytes));
    EXPECT_FALSE(store.read(100, bytes));
    EXPECT_FALSE(store.read(UINT64_MAX, bytes));
}

}  // namespace
}  // namespace TWQuickTime::transcode
