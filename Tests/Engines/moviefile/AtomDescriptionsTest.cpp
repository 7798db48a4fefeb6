// Every atom that is described: written, read back, measured, dumped, compared, cut short at every
// byte. A new atom joins the list.
#include <gtest/gtest.h>

#include "Engines/moviefile/Descriptions.h"
#include "Engines/moviefile/FragmentAtoms.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/MediaInformationAtoms.h"
#include "Engines/moviefile/SampleTableAtoms.h"

namespace TWQuickTime::moviefile {
namespace {

SharedBytes countingBytes(std::size_t count) {
    std::vector<std::byte> bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::byte>(i + 1);
    return SharedBytes::adopt(std::move(bytes));
}

/// Gives every field a value of its own: bytes that count up, read by the description itself.
/// Fields that decide about the shape (versions, flags, counts) are set afterwards.
template <class Atom>
Atom filled() {
    Atom atom;
    const std::size_t size = measureFields(atom);
    FieldReader reader(countingBytes(size + 64));
    Atom::describe(reader, atom);
    return atom;
}

template <class Atom>
std::vector<Atom> examples() {
    Atom atom = filled<Atom>();
    if constexpr (requires {
                      atom.version;
                      atom.flags;
                  }) {
        atom.flags = 0xABCDEF;
        atom.version = 0;
    }
    return {Atom(), atom};
}

template <>
std::vector<EditListAtom> examples() {
    EditListAtom narrow;
    narrow.entries = {{600, -1, 0x10000}, {1200, 1024, 0x20000}};
    EditListAtom wide = narrow;
    wide.version = 1;
    wide.entries[1].duration = 0x1'2345'6789;
    wide.entries[1].mediaTime = 0x7FFF'FFFF'FFFF;
    return {narrow, wide};
}

template <class Atom>
std::vector<Atom> wideExamples() {
    Atom narrow = filled<Atom>();
    narrow.version = 0;
    narrow.creationTime = narrow.modificationTime = 3'000'000'000u;
    narrow.duration = 0xFFFF'FFFE;
    Atom wide = narrow;
    wide.version = 1;
    wide.duration = 0x1'0000'0000;
    return {narrow, wide};
}
template <>
std::vector<MovieHeaderAtom> examples() {
    return wideExamples<MovieHeaderAtom>();
}
template <>
std::vector<TrackHeaderAtom> examples() {
    return wideExamples<TrackHeaderAtom>();
}
template <>
std::vector<MediaHeaderAtom> examples() {
    return wideExamples<MediaHeaderAtom>();
}

template <>
std::vector<HandlerAtom> examples() {
    HandlerAtom named;
    named.componentType = fourCharCode("mhlr");
    named.componentSubtype = fourCharCode("vide");
    named.name = "Video handler";
    return {HandlerAtom(), named};
}

template <>
std::vector<TimecodeMediaInformationAtom> examples() {
    TimecodeMediaInformationAtom named;
    named.fontName = "Courier";
    return {TimecodeMediaInformationAtom(), named};
}

template <class Atom>
std::vector<Atom> rowExamples() {
    Atom rows;
    rows.rows = countingBytes(Atom::bytesPerRow * 3);
    return {Atom(), rows};
}
template <>
std::vector<TimeToSampleAtom> examples() {
    return rowExamples<TimeToSampleAtom>();
}
template <>
std::vector<CompositionOffsetAtom> examples() {
    return rowExamples<CompositionOffsetAtom>();
}
template <>
std::vector<SyncSampleAtom> examples() {
    return rowExamples<SyncSampleAtom>();
}
template <>
std::vector<PartialSyncSampleAtom> examples() {
    return rowExamples<PartialSyncSampleAtom>();
}
template <>
std::vector<SampleToChunkAtom> examples() {
    return rowExamples<SampleToChunkAtom>();
}
template <>
std::vector<ChunkOffsetAtom> examples() {
    return rowExamples<ChunkOffsetAtom>();
}
template <>
std::vector<WideChunkOffsetAtom> examples() {
    return rowExamples<WideChunkOffsetAtom>();
}

template <>
std::vector<CompositionShiftAtom> examples() {
    CompositionShiftAtom negative;
    negative.leastDisplayOffset = -1000;
    CompositionShiftAtom wide = negative;
    wide.version = 1;
    wide.displayEnd = 0x1'0000'0000;
    return {negative, wide};
}

template <>
std::vector<TrackFragmentHeaderAtom> examples() {
    TrackFragmentHeaderAtom bare;
    TrackFragmentHeaderAtom full = filled<TrackFragmentHeaderAtom>();
    full.flags = 0x3B;
    full.baseOffset = 0x1'0000'0000;
    return {bare, full};
}

template <>
std::vector<TrackFragmentTimeAtom> examples() {
    TrackFragmentTimeAtom narrow;
    narrow.decodeTime = 5;
    TrackFragmentTimeAtom wide;
    wide.version = 1;
    wide.decodeTime = 0x1'0000'0000;
    return {narrow, wide};
}

template <>
std::vector<TrackRunAtom> examples() {
    TrackRunAtom bare;
    TrackRunAtom full;
    full.flags = 5;
    full.count = 3;
    full.dataOffset = -8;
    full.firstSampleFlags = 0x0200'0000;
    return {bare, full};
}

template <>
std::vector<SoundDescription> examples() {
    SoundDescription first = filled<SoundDescription>();
    std::vector<SoundDescription> all;
    for (const std::uint16_t version : {0, 1, 2}) {
        first.version = version;
        first.structureSizeInBytes = 72;
        all.push_back(first);
    }
    return all;
}

template <>
std::vector<TimecodeDescription> examples() {
    TimecodeDescription timecode = filled<TimecodeDescription>();
    timecode.source = countingBytes(4);
    return {TimecodeDescription(), timecode};
}

template <class Atom>
class DescribedAtom : public testing::Test {};

using AllAtoms = testing::Types<
    MovieHeaderAtom, TrackHeaderAtom, MediaHeaderAtom, HandlerAtom, EditListAtom, PreloadAtom,
    ApertureAtom, VideoMediaHeaderAtom, SoundMediaHeaderAtom, BaseMediaInformationAtom,
    TimecodeMediaInformationAtom, FullAtomHead, TimeToSampleAtom, CompositionOffsetAtom,
    SyncSampleAtom, PartialSyncSampleAtom, SampleToChunkAtom, ChunkOffsetAtom, WideChunkOffsetAtom,
    SampleSizeAtom, CompactSampleSizeAtom, SampleDependencyAtom, CompositionShiftAtom,
    TrackExtendsAtom, FragmentHeaderAtom, TrackFragmentHeaderAtom, TrackFragmentTimeAtom,
    TrackRunAtom, DescriptionHead, VideoDescription, SoundDescription, TimecodeDescription,
    PixelAspect, CleanAperture, FieldInformation, Gamma, ColorParameters>;
TYPED_TEST_SUITE(DescribedAtom, AllAtoms);

template <class Atom>
Atom readBack(const std::vector<std::byte>& bytes, bool& failed) {
    Atom atom;
    FieldReader reader(SharedBytes::copyOf(bytes));
    Atom::describe(reader, atom);
    failed = reader.failed();
    return atom;
}

TYPED_TEST(DescribedAtom, ReadsBackWhatItWrites) {
    for (const TypeParam& atom : examples<TypeParam>()) {
        bool failed = true;
        const TypeParam again = readBack<TypeParam>(fieldsOf(atom), failed);
        EXPECT_FALSE(failed);
        EXPECT_TRUE(sameFields(atom, again));
        EXPECT_EQ(dumpFields(atom), dumpFields(again));
    }
}

TYPED_TEST(DescribedAtom, MeasuresWhatItWrites) {
    for (const TypeParam& atom : examples<TypeParam>())
        EXPECT_EQ(measureFields(atom), fieldsOf(atom).size());
}

TYPED_TEST(DescribedAtom, TellsAtomsWithOtherFieldsApart) {
    const std::vector<TypeParam> all = examples<TypeParam>();
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (std::size_t j = 0; j < all.size(); ++j)
            EXPECT_EQ(sameFields(all[i], all[j]), fieldsOf(all[i]) == fieldsOf(all[j]));
    }
    EXPECT_FALSE(sameFields(all.front(), all.back()));
}

TYPED_TEST(DescribedAtom, DumpsALineForEveryField) {
    for (const TypeParam& atom : examples<TypeParam>()) {
        const std::string text = dumpFields(atom);
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.back(), '\n');
    }
}

TYPED_TEST(DescribedAtom, CutShortAtAnyByteItFailsOrIsAShorterAtom) {
    for (const TypeParam& atom : examples<TypeParam>()) {
        const std::vector<std::byte> whole = fieldsOf(atom);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const std::vector<std::byte> cut(whole.begin(),
                                             whole.begin() + static_cast<std::ptrdiff_t>(length));
            bool failed = false;
            const TypeParam read = readBack<TypeParam>(cut, failed);
            // Only texts and remainders may end early.
            if (!failed) {
                EXPECT_LE(measureFields(read), length + 1);
            }
        }
    }
}

TEST(FieldReader, NamesTheFirstFieldThatIsMissingAndHowMuchOfIt) {
    TrackExtendsAtom atom;
    FieldReader reader(countingBytes(10));
    TrackExtendsAtom::describe(reader, atom);
    ASSERT_TRUE(reader.failed());
    EXPECT_STREQ(reader.failedField(), "descriptionIndex");
    EXPECT_EQ(reader.missingBytes(), 2u);
}

TEST(FieldReader, ACountThatPassesTheBytesAsksForNoMemory) {
    std::vector<std::byte> bytes(8);
    bytes[4] = bytes[5] = bytes[6] = bytes[7] = std::byte{0xFF};
    EditListAtom atom;
    FieldReader reader(SharedBytes::adopt(bytes));
    EditListAtom::describe(reader, atom);
    EXPECT_TRUE(reader.failed());
    EXPECT_EQ(atom.entries.capacity(), 0u);
    EXPECT_EQ(reader.missingBytes(), 0xFFFF'FFFFull * 12);
}

TEST(FieldReader, TheTextOfAnIsoFileEndsAtItsZero) {
    const char text[] = "VideoHandler";
    const auto bytes = SharedBytes::copyOf(std::as_bytes(std::span(text)));
    std::string name;
    FieldReader reader(bytes);
    reader.pascalString("name", name);
    EXPECT_EQ(name, "VideoHandler");
    EXPECT_EQ(reader.rest().size(), 1u);
}

TEST(FieldReader, AMissingTextIsAnEmptyOne) {
    std::string name = "before";
    FieldReader reader{SharedBytes()};
    reader.pascalString("name", name);
    EXPECT_EQ(name, "");
    EXPECT_FALSE(reader.failed());
}

TEST(FieldDumper, ShowsNamesAndValues) {
    PreloadAtom atom;
    atom.duration = 600;
    EXPECT_EQ(dumpFields(atom), "startTime: 0\nduration: 600\nflags: 0\nhints: 0\n");
    TimeToSampleAtom times;
    times.rows = countingBytes(8);
    EXPECT_EQ(dumpFields(times), "version: 0\nflags: 0\nrows: 1\n  row: 16909060 84281096\n");
}

TEST(VideoDescription, KeepsTheColourTableTheExtensionsAndTheEnd) {
    VideoDescription video;
    video.head.format = fourCharCode("rle ");
    video.width = 64;
    video.height = 48;
    video.depth = 8;
    video.colorTableID = 0;
    std::vector<std::byte> table(8 + 8 * 2);
    table[7] = std::byte{1};  // last index
    video.colorTable = SharedBytes::adopt(table);
    video.setCodecName("Animation");
    setExtension(video.extensions, PixelAspect{16, 15});
    setExtension(video.extensions, FieldInformation{2, 9});
    video.extensions.list.push_back({fourCharCode("what"), countingBytes(3)});
    video.extensions.stray = SharedBytes::adopt(std::vector<std::byte>(4));
    const auto built = buildDescription(video);
    EXPECT_EQ(built.bytes().size(), 86u + 24 + 16 + 10 + 11 + 4);
    const auto read = readVideoDescription(built);
    ASSERT_TRUE(read) << read.failure().message;
    EXPECT_EQ(read->codecName(), "Animation");
    EXPECT_EQ(read->colorTable, video.colorTable);
    EXPECT_EQ(extensionOf<PixelAspect>(read->extensions)->verticalSpacing, 15u);
    EXPECT_EQ(extensionOf<FieldInformation>(read->extensions)->detail, 9);
    EXPECT_FALSE(extensionOf<CleanAperture>(read->extensions));
    EXPECT_EQ(buildDescription(*read), built);
}

TEST(VideoDescription, AnExtensionKeepsItsHeaderOf64Bits) {
    VideoDescription video;
    video.extensions.list.push_back({fourCharCode("what"), countingBytes(3), true});
    setExtension(video.extensions, FieldInformation{2, 9});
    const auto built = buildDescription(video);
    EXPECT_EQ(built.bytes().size(), 86u + 19 + 10);
    auto read = readVideoDescription(built);
    ASSERT_TRUE(read) << read.failure().message;
    EXPECT_EQ(*read->extensions.find(fourCharCode("what")), countingBytes(3));
    EXPECT_EQ(buildDescription(*read), built);
    read->extensions.set(fourCharCode("what"), countingBytes(4));
    EXPECT_EQ(buildDescription(*read).bytes().size(), built.bytes().size() + 1);
}

TEST(VideoDescription, ShorterThanItsFieldsIsDamaged) {
    const timeline::SampleDescription bytes(countingBytes(60));
    const auto read = readVideoDescription(bytes);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.failure().kind, result::FailureKind::damaged);
    EXPECT_EQ(read.failure().message, "the video description lacks 1 bytes (codecName)");
}

TEST(SoundDescription, FindsCodecDataInTheWaveExtensionToo) {
    SoundDescription sound;
    sound.version = 1;
    sound.setSampleRate(44100);
    DescriptionExtensions wave;
    wave.set(fourCharCode("frma"), countingBytes(4));
    wave.set(fourCharCode("esds"), countingBytes(9));
    std::vector<std::byte> children;
    appendExtensions(children, wave);
    sound.extensions.set(fourCharCode("wave"), SharedBytes::adopt(children));
    const auto read = readSoundDescription(buildDescription(sound));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->sampleRate16, 0xAC440000u);
    EXPECT_EQ(read->sampleRate(), 44100.0);
    EXPECT_EQ(*read->find(fourCharCode("esds")), countingBytes(9));
    EXPECT_EQ(read->find(fourCharCode("alac")), std::nullopt);
}

TEST(SoundDescription, Version2HoldsRatesThatVersion1CannotHold) {
    SoundDescription sound;
    sound.version = 2;
    sound.channels32 = 6;
    sound.setSampleRate(192000);
    const auto built = buildDescription(sound);
    EXPECT_EQ(built.bytes().size(), 72u);
    const auto read = readSoundDescription(built);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->sampleRate(), 192000.0);
    EXPECT_EQ(read->channelCount(), 6u);
}

TEST(TimecodeDescription, KeepsWhateverFollowsItsFields) {
    for (const std::size_t tail : {0, 2, 4, 12, 20}) {
        TimecodeDescription timecode;
        timecode.timeScale = 2500;
        timecode.frameDuration = 100;
        timecode.framesPerSecond = 25;
        timecode.source = countingBytes(tail);
        const auto built = buildDescription(timecode);
        EXPECT_EQ(built.bytes().size(), 34 + tail);
        const auto read = readTimecodeDescription(built);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->source.size(), tail);
        EXPECT_EQ(buildDescription(*read), built);
    }
}

}  // namespace
}  // namespace TWQuickTime::moviefile
