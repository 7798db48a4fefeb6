#include "Engines/moviefile/Descriptions.h"

#include <algorithm>
#include <bit>

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using timeline::SampleDescription;

namespace {

constexpr FourCharCode kWave = fourCharCode("wave");
constexpr std::size_t kColorTableHeadInBytes = 8;
constexpr std::size_t kColorTableEntryInBytes = 8;
constexpr double kOneIn16_16 = 65536.0;

template <class Description>
Expected<SharedBytes> readInto(Description& description, const SampleDescription& record,
                               const char* kind) {
    FieldReader reader(record.bytes());
    Description::describe(reader, description);
    if (reader.failed())
        return Failure{FailureKind::damaged, std::string("the ") + kind + " description lacks " +
                                                 std::to_string(reader.missingBytes()) +
                                                 " bytes (" + reader.failedField() + ")"};
    return reader.rest();
}

SampleDescription finished(std::vector<std::byte> bytes) {
    storeBigEndian(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return SampleDescription(SharedBytes::adopt(std::move(bytes)));
}

/// The inline colour table at the start of `rest`; nothing when it is cut short.
SharedBytes colorTableOf(const SharedBytes& rest) {
    if (rest.size() < kColorTableHeadInBytes)
        return {};
    const std::size_t entries = std::size_t{loadBigEndian<std::uint16_t>(rest.data() + 6)} + 1;
    const std::size_t size = kColorTableHeadInBytes + entries * kColorTableEntryInBytes;
    return size <= rest.size() ? rest.part(0, size) : SharedBytes();
}

}  // namespace

std::string VideoDescription::codecName() const {
    const std::size_t length = std::min<std::size_t>(codecNameField[0], codecNameField.size() - 1);
    return {codecNameField.begin() + 1,
            codecNameField.begin() + 1 + static_cast<std::ptrdiff_t>(length)};
}

void VideoDescription::setCodecName(const std::string& name) {
    const std::size_t length = std::min(name.size(), codecNameField.size() - 1);
    codecNameField = {};
    codecNameField[0] = static_cast<std::uint8_t>(length);
    std::copy_n(name.begin(), length, codecNameField.begin() + 1);
}

Expected<VideoDescription> readVideoDescription(const SampleDescription& bytes) {
    VideoDescription video;
    const auto rest = readInto(video, bytes, "video");
    if (!rest)
        return rest.failure();
    if (video.colorTableID == 0)
        video.colorTable = colorTableOf(*rest);
    video.extensions = readExtensions(rest->part(video.colorTable.size()));
    return video;
}

SampleDescription buildDescription(const VideoDescription& video) {
    std::vector<std::byte> bytes = fieldsOf(video);
    FieldWriter(bytes).remainder("colorTable", video.colorTable);
    appendExtensions(bytes, video.extensions);
    return finished(std::move(bytes));
}

double SoundDescription::sampleRate() const {
    return version == 2 ? std::bit_cast<double>(sampleRateBits) : sampleRate16 / kOneIn16_16;
}

void SoundDescription::setSampleRate(double framesPerSecond) {
    if (version == 2) {
        sampleRateBits = std::bit_cast<std::uint64_t>(framesPerSecond);
        sampleRate16 = 0x10000;
        return;
    }
    sampleRate16 = framesPerSecond > 0 && framesPerSecond < kOneIn16_16
                       ? static_cast<std::uint32_t>(framesPerSecond * kOneIn16_16)
                       : 0;
}

std::optional<SharedBytes> SoundDescription::find(FourCharCode type) const {
    if (const SharedBytes* direct = extensions.find(type))
        return *direct;
    const SharedBytes* wave = extensions.find(kWave);
    if (!wave)
        return std::nullopt;
    const DescriptionExtensions children = readExtensions(*wave);
    const SharedBytes* child = children.find(type);
    return child ? std::optional(*child) : std::nullopt;
}

Expected<SoundDescription> readSoundDescription(const SampleDescription& bytes) {
    SoundDescription sound;
    const auto rest = readInto(sound, bytes, "sound");
    if (!rest)
        return rest.failure();
    sound.extensions = readExtensions(*rest);
    return sound;
}

SampleDescription buildDescription(const SoundDescription& sound) {
    std::vector<std::byte> bytes = fieldsOf(sound);
    appendExtensions(bytes, sound.extensions);
    return finished(std::move(bytes));
}

Expected<TimecodeDescription> readTimecodeDescription(const SampleDescription& bytes) {
    TimecodeDescription timecode;
    const auto rest = readInto(timecode, bytes, "timecode");
    if (!rest)
        return rest.failure();
    return timecode;
}

SampleDescription buildDescription(const TimecodeDescription& timecode) {
    return finished(fieldsOf(timecode));
}

}  // namespace TWQuickTime::moviefile
