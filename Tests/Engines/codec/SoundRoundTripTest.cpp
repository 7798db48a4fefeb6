#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Engines/codec/CodecTable.h"
#include "Engines/codec/Resampler.h"
#include "Engines/codec/SoundDecoder.h"
#include "Engines/codec/SoundEncoder.h"
#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

struct CodedSound {
    std::vector<Packet> packets;
    std::vector<std::byte> description;
    int priming = 0;
    int bytesPerPcmFrame = 0;
    std::uint32_t codec = 0;
};

CodedSound encodeTone(const SoundEncoderSettings& settings, const std::vector<float>& tone) {
    CodedSound coded;
    auto encoder = SoundEncoder::open(settings);
    EXPECT_TRUE(encoder) << encoder.failure().message;
    if (!encoder) {
        return coded;
    }
    const auto collect = [&] {
        for (;;) {
            auto packet = (*encoder)->receive();
            ASSERT_TRUE(packet) << packet.failure().message;
            if (!*packet) {
                return;
            }
            coded.packets.push_back(std::move(**packet));
        }
    };
    // Odd pieces, as a mixer hands them over.
    const std::size_t piece = 777 * std::size_t(settings.channels);
    for (std::size_t at = 0; at < tone.size(); at += piece) {
        auto status =
            (*encoder)->encode(std::span(tone).subspan(at, std::min(piece, tone.size() - at)));
        EXPECT_TRUE(status) << status.failure().message;
        collect();
    }
    EXPECT_TRUE((*encoder)->finish());
    collect();
    coded.description = (*encoder)->sampleDescription(false);
    coded.priming = (*encoder)->primingFrames();
    coded.bytesPerPcmFrame = (*encoder)->bytesPerPcmFrame();
    coded.codec = (*encoder)->settings().codec;
    return coded;
}

SoundBlock decodeAll(const CodedSound& coded) {
    SoundBlock block;
    auto decoder = SoundDecoder::open(coded.description);
    EXPECT_TRUE(decoder) << decoder.failure().message;
    if (decoder) {
        for (const Packet& packet : coded.packets) {
            auto status = (*decoder)->decode(packet, block);
            EXPECT_TRUE(status) << status.failure().message;
        }
        EXPECT_TRUE((*decoder)->drain(block));
    }
    return block;
}

std::string nameOf(std::uint32_t type) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(type >> shift);
        text += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return text;
}

class EverySoundCodec : public testing::TestWithParam<std::uint32_t> {};

TEST_P(EverySoundCodec, GivesBackTheSoundBehindItsPriming) {
    const std::uint32_t type = GetParam();
    const bool telephone = type == fourCode("agsm");
    const int rate = type == fourCode("Opus") ? 48000 : telephone ? 8000 : 44100;
    const int channels = telephone ? 1 : 2;
    const std::vector<float> tone = test::makeTone(rate / 2, channels, rate);
    SoundEncoderSettings settings;
    settings.codec = type;
    settings.channels = channels;
    settings.sampleRate = rate;
    const CodedSound coded = encodeTone(settings, tone);
    ASSERT_FALSE(coded.packets.empty());
    std::int64_t position = 0;
    for (const Packet& packet : coded.packets) {
        EXPECT_EQ(packet.presentationTime, position);
        position += packet.duration;
    }
    EXPECT_GE(position, rate / 2);
    const SoundBlock block = decodeAll(coded);
    EXPECT_EQ(block.channels, channels);
    EXPECT_EQ(block.sampleRate, rate);
    // Some decoders hide the priming by themselves, others leave it to the movie's edit.
    double best = 0;
    for (const std::size_t shift :
         {std::size_t(0), std::size_t(coded.priming), std::size_t(coded.priming + 1105),
          std::size_t(1105), std::size_t(529), std::size_t(481), std::size_t(256)}) {
        best = std::max(best, test::correlation(tone, block.samples, channels, shift));
    }
    EXPECT_GT(best, type == fourCode("vrbs") ? 0.9 : 0.95);
}

std::vector<std::uint32_t> installedTypes() {
    std::vector<std::uint32_t> types = soundEncoderTypes();
    std::erase_if(types, [](std::uint32_t type) { return !canEncodeSound(type); });
    return types;
}

INSTANTIATE_TEST_SUITE_P(Installed, EverySoundCodec, testing::ValuesIn(installedTypes()),
                         [](const auto& instance) {
                             return std::to_string(instance.index) + "_" + nameOf(instance.param);
                         });

TEST(SoundEncoder, KeepsEverySampleOfSixteenBitPcm) {
    std::vector<float> samples;
    for (int i = -32768; i < 32768; i += 7) {
        samples.push_back(static_cast<float>(i) / 32768.0f);
    }
    SoundEncoderSettings settings;
    settings.codec = fourCode("sowt");
    settings.channels = 1;
    const SoundBlock block = decodeAll(encodeTone(settings, samples));
    EXPECT_EQ(block.samples, samples);
}

TEST(SoundEncoder, WritesWideBigAndLittleEndianPcmUnderTheirOwnTypes) {
    const std::vector<float> tone = test::makeTone(1000, 2, 48000);
    for (const std::uint32_t type : {fourCode("twos"), fourCode("sowt")}) {
        for (const int bits : {24, 32}) {
            SoundEncoderSettings settings;
            settings.codec = type;
            settings.sampleRate = 48000;
            settings.bitsPerSample = bits;
            const CodedSound coded = encodeTone(settings, tone);
            EXPECT_EQ(coded.codec, bits == 24 ? fourCode("in24") : fourCode("in32"));
            EXPECT_EQ(coded.bytesPerPcmFrame, bits / 4);
            const SoundBlock block = decodeAll(coded);
            ASSERT_EQ(block.samples.size(), tone.size());
            EXPECT_GT(test::correlation(tone, block.samples, 2, 0), 0.999999);
        }
    }
}

TEST(SoundEncoder, DescribesRatesAbove65535HertzInVersionTwo) {
    SoundEncoderSettings settings;
    settings.codec = fourCode("lpcm");
    settings.sampleRate = 96000;
    settings.bitsPerSample = 24;
    const CodedSound coded = encodeTone(settings, test::makeTone(960, 2, 96000));
    const auto description = readSoundDescription(coded.description);
    ASSERT_TRUE(description);
    EXPECT_EQ(description->version, 2);
    EXPECT_EQ(description->sampleRate, 96000);
    EXPECT_EQ(description->bitsPerSample, 24);
    EXPECT_EQ(description->channels, 2);
}

TEST(SoundEncoder, StopsSoundBeyondFullScaleAtItAndRoundsToTheNearestStep) {
    SoundEncoderSettings settings;
    settings.codec = fourCode("sowt");
    settings.sampleRate = 48000;
    settings.channels = 1;
    const float step = 1.0f / 32768;
    // More than one vector register, and a rest.
    std::vector<float> given, expected;
    for (int i = 0; i < 5; ++i) {
        for (const auto& [sample, whole] : {std::pair{2.0f, 32767},
                                            {-2.0f, -32768},
                                            {1.0f, 32767},
                                            {-1.0f, -32768},
                                            {0.4f * step, 0},
                                            {0.6f * step, 1},
                                            {-0.6f * step, -1}}) {
            given.push_back(sample);
            expected.push_back(float(whole));
        }
    }
    auto encoder = SoundEncoder::open(settings);
    ASSERT_TRUE(encoder);
    ASSERT_TRUE((*encoder)->encode(given));
    ASSERT_TRUE((*encoder)->finish());
    auto packet = (*encoder)->receive();
    ASSERT_TRUE(packet && *packet);
    ASSERT_EQ((*packet)->bytes.size(), given.size() * 2);
    for (std::size_t i = 0; i < given.size(); ++i) {
        std::int16_t coded = 0;
        std::memcpy(&coded, (*packet)->bytes.data() + i * 2, 2);
        EXPECT_EQ(float(coded), expected[i]) << i;
    }
}

TEST(Resampler, KeepsLevelAndPitchFrom44100To48000Hertz) {
    const std::vector<float> tone = test::makeTone(22050, 1, 44100);
    const std::vector<float> expected = test::makeTone(24000, 1, 48000);
    auto resampler = Resampler::make({1, 44100}, {1, 48000});
    ASSERT_TRUE(resampler);
    std::vector<float> out;
    ASSERT_TRUE((*resampler)->convert(tone, out));
    ASSERT_TRUE((*resampler)->drain(out));
    EXPECT_NEAR(double(out.size()), 24000, 1);
    EXPECT_GT(test::correlation(expected, out, 1, 0), 0.9999);
}

TEST(Resampler, PassesSoundOfTheSameFormatOnUnchanged) {
    const std::vector<float> tone = test::makeTone(100, 2, 44100);
    auto resampler = Resampler::make({2, 44100}, {2, 44100});
    ASSERT_TRUE(resampler);
    std::vector<float> out;
    ASSERT_TRUE((*resampler)->convert(tone, out));
    EXPECT_EQ(out, tone);
}

}  // namespace
}  // namespace TWQuickTime::codec
