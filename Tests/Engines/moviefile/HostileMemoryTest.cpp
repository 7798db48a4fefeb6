// Movies made to waste memory and time: what reading and walking them takes stays in proportion to
// the bytes that they really have.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <functional>

#include "AllocationMeter.h"
#include "Engines/moviefile/CompressedMovie.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/MovieReader.h"
#include "MovieBytes.h"
#include "TimeAllowance.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;

constexpr std::uint32_t kAll = 0xFFFFFFFF;

Bytes repeated(const Bytes& bytes, std::size_t count) {
    Bytes all;
    all.reserve(bytes.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

Bytes movieOfTable(const Bytes& table) {
    return movie(track({}, {}, media(atom("stbl", table))));
}

/// Every table says that it has four thousand million rows.
Bytes hugeCounts() {
    Bytes tables;
    for (const char* type :
         {"stsd", "stts", "ctts", "stss", "stps", "stsc", "stco", "co64", "sgpd"})
        tables = joined({tables, atom(type, joined({u32(0), u32(kAll), zeros(16)}))});
    tables = joined({tables, atom("stsz", joined({u32(0), u32(0), u32(kAll), zeros(16)})),
                     atom("stz2", joined({u32(0), u32(4), u32(kAll), zeros(16)}))});
    const Bytes edits = atom("edts", atom("elst", joined({u32(0), u32(kAll), zeros(24)})));
    return movie(track(edits, atom("tref", atom("tmcd", u32(kAll))), media(atom("stbl", tables))));
}

/// Four thousand million samples of one size in tables of a few bytes.
Bytes hugeRuns() {
    return movieOfTable(joined({atom("stsd", joined({u32(0), u32(1), bareDescription("jpeg")})),
                                atom("stts", joined({u32(0), u32(1), u32(kAll), u32(kAll)})),
                                atom("ctts", joined({u32(0), u32(1), u32(kAll), u32(0x7FFFFFFF)})),
                                atom("stsc", joined({u32(0), u32(1), u32(1), u32(kAll), u32(1)})),
                                atom("stsz", joined({u32(0), u32(kAll), u32(kAll)})),
                                atom("stco", joined({u32(0), u32(1), u32(kAll)}))}));
}

/// Chunks on top of each other, and runs of chunks that go backward.
Bytes overlappingTables() {
    Bytes runs, offsets;
    for (std::uint32_t i = 0; i < 50'000; ++i) {
        const Bytes run = joined({u32(50'000 - i), u32(kAll - i), u32(1)});
        runs.insert(runs.end(), run.begin(), run.end());
        const Bytes offset = u32(i % 7);
        offsets.insert(offsets.end(), offset.begin(), offset.end());
    }
    return movieOfTable(joined({atom("stsd", joined({u32(0), u32(1), bareDescription("jpeg")})),
                                atom("stts", joined({u32(0), u32(1), u32(50'000), u32(1)})),
                                atom("stsc", joined({u32(0), u32(50'000), runs})),
                                atom("stsz", joined({u32(0), u32(9), u32(50'000)})),
                                atom("stco", joined({u32(0), u32(50'000), offsets}))}));
}

/// 'udta' in 'udta', a hundred thousand deep.
Bytes deepNesting() {
    constexpr std::uint32_t kDepth = 100'000;
    Bytes nested;
    nested.reserve(kDepth * 8);
    for (std::uint32_t depth = kDepth; depth > 0; --depth) {
        const Bytes header = joined({u32(depth * 8), bytesOf("udta")});
        nested.insert(nested.end(), header.begin(), header.end());
    }
    return movie(track(), nested);
}

/// A hundred tracks that all refer to all, and a map of inputs that feeds itself.
Bytes cycles() {
    Bytes ids, tracks;
    for (std::uint32_t id = 1; id <= 100; ++id)
        ids = joined({ids, u32(id)});
    const Bytes references =
        atom("tref",
             joined({atom("chap", ids), atom("ssrc", ids), atom("tmcd", ids), atom("sync", ids)}));
    for (std::uint32_t id = 1; id <= 100; ++id)
        tracks = joined({tracks, atom("trak", joined({trackHeader(id), references, media()}))});
    return movie(tracks);
}

Bytes zeroTimeScales() {
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(0), u32(2), u32(kAll), u32(kAll), u32(0x10000),
                                          u32(kAll), u32(0x7FFFFFFF), u32(0x10000)})));
    const Bytes timeless = atom(
        "mdia", joined({mediaHeader(0, kAll), handler("vide"), mediaInformation(sampleTable())}));
    return atom("moov", joined({movieHeader(0, kAll), track(edits, {}, timeless)}));
}

/// Durations whose sums pass 64 bits.
Bytes overflowingTimes() {
    const Bytes row = joined({u32(0x7FFFFFFF), u32(0x7FFFFFFF)});
    const Bytes edit = joined({u32(0x7FFFFFFF), u32(kAll), u32(0x7FFFFFFF), u32(kAll), u32(1)});
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(1u << 24), u32(10'000), repeated(edit, 10'000)})));
    const Bytes table =
        atom("stbl", joined({atom("stsd", joined({u32(0), u32(1), bareDescription("jpeg")})),
                             atom("stts", joined({u32(0), u32(10'000), repeated(row, 10'000)})),
                             atom("stsc", joined({u32(0), u32(1), u32(1), u32(1), u32(1)})),
                             atom("stsz", joined({u32(0), u32(1), u32(0x7FFFFFFF)})),
                             atom("stco", joined({u32(0), u32(1), u32(0)}))}));
    return movie(track(edits, {}, media(table)));
}

Bytes manyTinyAtoms() {
    return movie(track(), repeated(atom("free"), 300'000));
}

Bytes manyUserDataItems() {
    return movie(track(), atom("udta", repeated(atom("abcd"), 300'000)));
}

Bytes manyEmptyTracks() {
    return movie(repeated(atom("trak", trackHeader()), 10'000));
}

Bytes manyTracks() {
    return movie(repeated(track(), 3'000));
}

Bytes manyDescriptions() {
    return movieOfTable(joined(
        {atom("stsd", joined({u32(0), u32(100'000), repeated(bareDescription("jpeg"), 100'000)})),
         atom("stts", zeros(8)), atom("stsc", zeros(8)), atom("stsz", zeros(12)),
         atom("stco", zeros(8))}));
}

/// Two hundred thousand bytes of nothing that claim to unpack to two hundred million.
Bytes lyingCompression() {
    const Bytes packed = atom("cmvd", joined({u32(200'000'000), zeros(200'000)}));
    return atom("moov", atom("cmov", joined({atom("dcom", bytesOf("zlib")), packed})));
}

/// Really unpacks to eight million bytes, which are no movie.
Bytes compressedEmptiness() {
    return *compressMovie(Bytes(8'000'000));
}

/// A movie packed three times over.
Bytes compressionInCompression() {
    Bytes packed = movie();
    for (int i = 0; i < 3; ++i)
        packed = *compressMovie(packed);
    return packed;
}

/// A movie without samples, of one track, followed by these fragments. The defaults of fragments
/// are a description, a duration of 1, a size of 4.
Bytes movieOfFragments(const Bytes& fragments) {
    const Bytes empty = atom("stbl", joined({atom("stts", zeros(8)), atom("stsc", zeros(8)),
                                             atom("stsz", zeros(12)), atom("stco", zeros(8))}));
    const Bytes extends =
        atom("mvex", atom("trex", joined({u32(0), u32(1), u32(1), u32(1), u32(4), u32(0)})));
    return joined({movie(track({}, {}, media(empty)), extends), fragments});
}

Bytes fragmentOf(const Bytes& runs, const Bytes& header = joined({u32(0x20000), u32(1)})) {
    return atom("moof", atom("traf", joined({atom("tfhd", header), runs})));
}

/// Runs of four thousand million samples: such that list none of them, and such that should.
Bytes hugeFragmentRuns() {
    const Bytes alike = atom("trun", joined({u32(0), u32(kAll)}));
    const Bytes listed = atom("trun", joined({u32(0xF01), u32(kAll), zeros(4), zeros(16)}));
    return movieOfFragments(joined({fragmentOf(repeated(alike, 3)), fragmentOf(listed)}));
}

/// Runs that take a few bytes each and never join: another size, not to be decoded from.
Bytes differingFragmentRuns() {
    Bytes fragments;
    for (std::uint32_t i = 0; i < 400; ++i) {
        const Bytes header = joined({u32(0x20030), u32(1), u32(i % 2 + 1), u32((i % 3) << 16)});
        const Bytes run = atom("trun", joined({u32(1), u32(4'000), u32(i * 7)}));
        fragments = joined({fragments, fragmentOf(run, header)});
    }
    return movieOfFragments(fragments);
}

Bytes manyEmptyFragments() {
    return movieOfFragments(repeated(atom("moof"), 300'000));
}

Bytes manyEmptyTrackFragments() {
    return movieOfFragments(
        atom("moof", repeated(atom("traf", atom("tfhd", joined({u32(0), u32(1)}))), 100'000)));
}

/// Two hundred thousand fragments of one sample, none where the last one ended.
Bytes manyFragmentsOfOneSample() {
    return movieOfFragments(repeated(
        fragmentOf(atom("trun", joined({u32(0x201), u32(1), u32(kAll), u32(kAll)}))), 200'000));
}

/// An index of segments that leads to itself, and one of fragments that lead back to it.
Bytes indexCycles() {
    const Bytes reference = joined({u32(0x80000000), u32(1), u32(0)});
    const Bytes segments = atom("sidx", joined({u32(0), u32(1), u32(600), zeros(8), u16(0),
                                                u16(40'000), repeated(reference, 40'000)}));
    const Bytes entry = joined({u32(0), u32(0), u32(0x01010100)});
    const Bytes access =
        atom("tfra", joined({u32(0), u32(1), u32(0), u32(40'000), repeated(entry, 40'000)}));
    return movieOfFragments(
        joined({segments, fragmentOf(atom("trun", joined({u32(0), u32(1)}))), segments,
                atom("mfra", joined({access, atom("mfro", joined({u32(0), u32(kAll)}))}))}));
}

/// Data before and behind all files, durations and times past 64 bits, tracks and descriptions
/// that do not exist.
Bytes senselessFragmentHeaders() {
    const Bytes run = atom("trun", joined({u32(0xF01), u32(1), u32(0x80000000), u32(kAll),
                                           u32(kAll), u32(kAll), u32(0x7FFFFFFF)}));
    Bytes fragments;
    for (const std::uint64_t number : {0xFFFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull, 1ull << 62}) {
        const auto low = static_cast<std::uint32_t>(number);
        const Bytes start = atom("tfdt", joined({u32(0x01000000), u64(number)}));
        const Bytes header =
            joined({u32(0x3B), u32(1), u64(number), u32(kAll), u32(low), u32(low), u32(low)});
        const Bytes unknown = joined({u32(0x1), u32(low), u64(number)});
        fragments = joined({fragments, fragmentOf(joined({start, run}), header),
                            fragmentOf(run, unknown), fragmentOf(run, u32(kAll))});
    }
    return movieOfFragments(repeated(fragments, 5'000));
}

struct HostileMovie {
    const char* name;
    std::function<Bytes()> make;
    /// Of the movie atom where it is compressed; 0: what make() gives.
    std::size_t unpackedBytes = 0;
};

std::ostream& operator<<(std::ostream& stream, const HostileMovie& movie) {
    return stream << movie.name;
}

class HostileMemory : public testing::TestWithParam<HostileMovie> {};

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// What a player asks of every track first.
void askEverything(const timeline::Movie& movie) {
    movie.duration();
    for (const auto& track : movie.tracks) {
        if (!track->media)
            continue;
        const timeline::SampleTable& samples = track->media->samples;
        for (const std::int64_t time : {std::int64_t{0}, std::int64_t{1} << 40}) {
            samples.sampleAtDisplayTime(time);
            samples.sampleAtDecodeTime(time);
        }
        const auto last = samples.sample(samples.sampleCount() - 1);
        EXPECT_TRUE(last.ok() || !last.failure().message.empty());
    }
}

TEST_P(HostileMemory, StaysBelowTwiceTheMovieAtomAndItsTimeInProportion) {
    const Bytes movieAtom = GetParam().make();
    const std::size_t size = std::max(movieAtom.size(), GetParam().unpackedBytes);
    const auto storage =
        std::make_shared<MemoryStorage>(joined({movieAtom, atom("mdat", zeros(100))}));
    const TWQuickTime::test::AllocationMeter meter;
    const double start = processorSeconds();
    {
        const auto opened = openMovie(storage, "");
        if (opened)
            askEverything(*opened->movie);
        else
            EXPECT_FALSE(opened.failure().message.empty());
    }
    EXPECT_LT(meter.peakBytes(), (8u << 20) + 2 * size);
    // A second for ten mebibytes is the aim; this is the work of another order.
    EXPECT_LT(processorSeconds() - start,
              TWQuickTime::test::timeAllowance * (2.0 + static_cast<double>(size) / (1 << 20)));
}

INSTANTIATE_TEST_SUITE_P(
    MovieFiles, HostileMemory,
    testing::Values(HostileMovie{"HugeCounts", hugeCounts}, HostileMovie{"HugeRuns", hugeRuns},
                    HostileMovie{"OverlappingTables", overlappingTables},
                    HostileMovie{"DeepNesting", deepNesting}, HostileMovie{"Cycles", cycles},
                    HostileMovie{"ZeroTimeScales", zeroTimeScales},
                    HostileMovie{"OverflowingTimes", overflowingTimes},
                    HostileMovie{"ManyTinyAtoms", manyTinyAtoms},
                    HostileMovie{"ManyUserDataItems", manyUserDataItems},
                    HostileMovie{"ManyEmptyTracks", manyEmptyTracks},
                    HostileMovie{"ManyTracks", manyTracks},
                    HostileMovie{"ManyDescriptions", manyDescriptions},
                    HostileMovie{"LyingCompression", lyingCompression},
                    HostileMovie{"CompressedEmptiness", compressedEmptiness, 8'000'000},
                    HostileMovie{"CompressionInCompression", compressionInCompression},
                    HostileMovie{"HugeFragmentRuns", hugeFragmentRuns},
                    HostileMovie{"DifferingFragmentRuns", differingFragmentRuns},
                    HostileMovie{"ManyEmptyFragments", manyEmptyFragments},
                    HostileMovie{"ManyEmptyTrackFragments", manyEmptyTrackFragments},
                    HostileMovie{"ManyFragmentsOfOneSample", manyFragmentsOfOneSample},
                    HostileMovie{"IndexCycles", indexCycles},
                    HostileMovie{"SenselessFragmentHeaders", senselessFragmentHeaders}),
    [](const auto& named) { return std::string(named.param.name); });

}  // namespace
}  // namespace TWQuickTime::moviefile
