#include "Engines/transcode/SettingsContainer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Engines/atomcontainer/AtomContainerEditor.h"
#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::transcode {
namespace {

using atomcontainer::AtomContainerEditor;
using atomcontainer::AtomContainerReader;
using atomcontainer::kRoot;
using atomcontainer::VectorStore;
using codec::ByteWriter;
using codec::fourCode;
using result::FailureKind;

const ExporterFamily& family(const char (&subtype)[5]) {
    return *exporterFamily(fourCode(subtype));
}

std::vector<std::byte> spatial(std::uint32_t codec, int depth, std::uint32_t quality) {
    ByteWriter writer;
    writer.u32(codec).u32(0).u16(std::uint32_t(depth)).u32(quality);
    return writer.take();
}

std::vector<std::byte> containerWith(std::uint32_t type, const std::vector<std::byte>& data) {
    VectorStore store;
    AtomContainerEditor editor(store);
    EXPECT_TRUE(editor.insertChild(kRoot, {type, 1, 0}, data));
    return store.takeBytes();
}

TEST(SettingsContainer, ReadsBackWhatItWrote) {
    ExportSettings settings = defaultSettings(family("MooV"));
    settings.video->codec = fourCode("jpeg");
    settings.video->depth = 40;
    settings.video->spatialQuality = 700;
    settings.video->temporalQuality = 300;
    settings.video->frameRate = 25 << 16;
    settings.video->keyFrameEvery = 24;
    settings.video->bytesPerSecond = 123456;
    settings.video->width = 320;
    settings.video->height = 180;
    settings.sound->codec = fourCode("twos");
    settings.sound->sampleRate = 44100;
    settings.sound->channels = 1;
    settings.sound->bitsPerSample = 24;
    settings.movieInFront = true;
    const auto read =
        settingsIn(containerOf(settings), family("MooV"), defaultSettings(family("MooV")));
    ASSERT_TRUE(read) << read.failure().message;
    EXPECT_EQ(read->video->codec, fourCode("jpeg"));
    EXPECT_EQ(read->video->depth, 40);
    EXPECT_EQ(read->video->spatialQuality, 700);
    EXPECT_EQ(read->video->temporalQuality, 300);
    EXPECT_EQ(read->video->frameRate, 25 << 16);
    EXPECT_EQ(read->video->keyFrameEvery, 24);
    EXPECT_EQ(read->video->bytesPerSecond, 123456);
    EXPECT_EQ(read->video->width, 320);
    EXPECT_EQ(read->video->height, 180);
    EXPECT_EQ(read->sound->codec, fourCode("twos"));
    EXPECT_EQ(read->sound->sampleRate, 44100);
    EXPECT_EQ(read->sound->channels, 1);
    EXPECT_EQ(read->sound->bitsPerSample, 24);
    EXPECT_TRUE(read->movieInFront);
}

TEST(SettingsContainer, PlacesTheMovieAtomBehindTheDataUnlessItSaysOtherwise) {
    EXPECT_FALSE(defaultSettings(family("MooV")).movieInFront);
    const auto read = settingsIn(containerWith(fourCode("fast"), {std::byte{1}}), family("MooV"),
                                 defaultSettings(family("MooV")));
    ASSERT_TRUE(read) << read.failure().message;
    EXPECT_TRUE(read->movieInFront);
}

TEST(SettingsContainer, SaysNothingWhenItHasNoBytesOrNoChildren) {
    EXPECT_TRUE(saysNothing({}));
    EXPECT_TRUE(saysNothing(atomcontainer::emptyContainer()));
    EXPECT_FALSE(saysNothing(containerWith(fourCode("sptl"), spatial(0, 24, 0))));
}

TEST(SettingsContainer, FindsALeafAtTheTopLevelAsWellAsInAGroup) {
    const auto read =
        settingsIn(containerWith(fourCode("sptl"), spatial(fourCode("png "), 32, 1024)),
                   family("MooV"), defaultSettings(family("MooV")));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->video->codec, fourCode("png "));
    EXPECT_EQ(read->video->depth, 32);
}

TEST(SettingsContainer, KeepsUnknownAtomsWhenItIsCompleted) {
    const std::vector<std::byte> strange(5, std::byte{0x42});
    const auto given = containerWith(fourCode("zzzz"), strange);
    const auto complete = completedContainer(given, defaultSettings(family("mpg4")));
    ASSERT_TRUE(complete);
    const AtomContainerReader reader(*complete);
    const auto kept = reader.findByID(kRoot, fourCode("zzzz"), 1);
    ASSERT_TRUE(kept);
    EXPECT_TRUE(std::ranges::equal(reader.data(kept.atom), strange));
    EXPECT_TRUE(reader.findByID(kRoot, fourCode("vide"), 1));
    EXPECT_TRUE(reader.findByID(kRoot, fourCode("soun"), 1));
}

TEST(SettingsContainer, LeavesOutPicturesOrSoundThatAreSwitchedOff) {
    const auto read = settingsIn(containerWith(fourCode("envi"), {std::byte{0}}), family("MooV"),
                                 defaultSettings(family("MooV")));
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->video);
    EXPECT_TRUE(read->sound);
}

TEST(SettingsContainer, RefusesLeavesOfAWrongSize) {
    const auto read = settingsIn(containerWith(fourCode("sptl"), std::vector<std::byte>(13)),
                                 family("MooV"), defaultSettings(family("MooV")));
    ASSERT_FALSE(read);
    EXPECT_EQ(read.failure().kind, FailureKind::damaged);
}

TEST(SettingsContainer, RefusesValuesOutOfRange) {
    for (const auto& bytes : {containerWith(fourCode("sptl"), spatial(fourCode("jpeg"), 24, 1025)),
                              containerWith(fourCode("sptl"), spatial(fourCode("jpeg"), 23, 512)),
                              containerWith(fourCode("wdth"), ByteWriter().u32(0x80000000).take()),
                              containerWith(fourCode("ssss"), ByteWriter().u16(17).take()),
                              containerWith(fourCode("sscc"), ByteWriter().u16(65).take())}) {
        const auto read = settingsIn(bytes, family("MooV"), defaultSettings(family("MooV")));
        ASSERT_FALSE(read);
        EXPECT_EQ(read.failure().kind, FailureKind::badArgument);
    }
}

TEST(SettingsContainer, RefusesACodecThatTheFormatDoesNotCarry) {
    const auto dv = settingsIn(containerWith(fourCode("sptl"), spatial(fourCode("avc1"), 24, 512)),
                               family("dvc!"), defaultSettings(family("dvc!")));
    ASSERT_FALSE(dv);
    EXPECT_EQ(dv.failure().kind, FailureKind::unsupported);
    const auto m4a =
        settingsIn(containerWith(fourCode("ssct"), ByteWriter().u32(fourCode("twos")).take()),
                   family("M4A "), defaultSettings(family("M4A ")));
    ASSERT_FALSE(m4a);
    EXPECT_EQ(m4a.failure().kind, FailureKind::unsupported);
}

TEST(SettingsContainer, AcceptsAnyCodecForQuickTimeEvenOneThatIsNotInstalled) {
    const auto read =
        settingsIn(containerWith(fourCode("sptl"), spatial(fourCode("qwer"), 24, 512)),
                   family("MooV"), defaultSettings(family("MooV")));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->video->codec, fourCode("qwer"));
}

TEST(SettingsContainer, AnswersEveryCutAndEveryFlippedByteWithoutACrash) {
    const auto whole = containerOf(defaultSettings(family("MooV")));
    const ExportSettings defaults = defaultSettings(family("MooV"));
    int refused = 0;
    for (std::size_t length = 1; length < whole.size(); ++length) {
        const auto read = settingsIn(std::span(whole).first(length), family("MooV"), defaults);
        refused += read ? 0 : 1;
    }
    EXPECT_EQ(refused, int(whole.size()) - 1);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int flip : {1, 0x80, 0xFF}) {
            auto bytes = whole;
            bytes[at] ^= static_cast<std::byte>(flip);
            const auto read = settingsIn(bytes, family("MooV"), defaults);
            if (read) {
                EXPECT_TRUE(completedContainer(bytes, *read));
            }
        }
    }
}

TEST(ExporterFamily, GivesEachItsOwnSubtypeAndDefaultsThatItAccepts) {
    for (const ExporterFamily& one : exporterFamilies()) {
        EXPECT_EQ(exporterFamily(one.subtype), &one);
        const ExportSettings defaults = defaultSettings(one);
        EXPECT_TRUE(settingsIn(containerOf(defaults), one, defaults)) << one.name;
        if (defaults.video) {
            EXPECT_TRUE(one.takesVideo(defaults.video->codec)) << one.name;
        }
        if (defaults.sound) {
            EXPECT_TRUE(one.takesSound(defaults.sound->codec)) << one.name;
        }
    }
}

TEST(ExactFrameRate, KnowsTheNtscRatesAndTheOnesThatAreStoredTimesAHundred) {
    const auto fixed = [](double rate) { return static_cast<std::int32_t>(rate * 65536); };
    EXPECT_EQ(exactFrameRate(fixed(29.97)), (codec::Rational{30000, 1001}));
    EXPECT_EQ(exactFrameRate(fixed(23.976)), (codec::Rational{24000, 1001}));
    EXPECT_EQ(exactFrameRate(fixed(59.94)), (codec::Rational{60000, 1001}));
    EXPECT_EQ(exactFrameRate(fixed(2997)), (codec::Rational{30000, 1001}));
    EXPECT_EQ(exactFrameRate(fixed(25)), (codec::Rational{25, 1}));
    EXPECT_EQ(exactFrameRate(fixed(12.5)), (codec::Rational{12500, 1000}));
    EXPECT_FALSE(exactFrameRate(0).known());
}

}  // namespace
}  // namespace TWQuickTime::transcode
