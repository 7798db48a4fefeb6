#include "Engines/playback/FileDevice.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace TWQuickTime::playback {

namespace {

static_assert(std::endian::native == std::endian::little, "WAV samples are little-endian");

constexpr std::int64_t kFramesPerPiece = 4096;
constexpr std::uint16_t kFloatSamples = 3;

/// A WAV header of floats, field by field.
struct Header {
    char riff[4] = {'R', 'I', 'F', 'F'};
    std::uint32_t riffSize = 0;
    char wave[4] = {'W', 'A', 'V', 'E'};
    char format[4] = {'f', 'm', 't', ' '};
    std::uint32_t formatSize = 18;
    std::uint16_t sampleKind = kFloatSamples;
    std::uint16_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t bytesPerSecond = 0;
    std::uint16_t bytesPerFrame = 0;
    std::uint16_t bitsPerSample = 32;
    std::uint16_t extensionSize = 0;
    char fact[4] = {'f', 'a', 'c', 't'};
    std::uint32_t factSize = 4;
    std::uint32_t frames = 0;
    char data[4] = {'d', 'a', 't', 'a'};
    std::uint32_t dataSize = 0;
};

/// Sizes past four gigabytes say "to the end of the file".
std::uint32_t fieldOf(std::uint64_t size) {
    return std::uint32_t(std::min<std::uint64_t>(size, 0xFFFFFFFF));
}

template <class... Fields>
std::vector<std::byte> bytesOf(const Fields&... fields) {
    std::vector<std::byte> bytes((sizeof(fields) + ...));
    std::size_t at = 0;
    ((std::memcpy(bytes.data() + at, &fields, sizeof(fields)), at += sizeof(fields)), ...);
    return bytes;
}

std::vector<std::byte> packed(const Header& h) {
    return bytesOf(h.riff, h.riffSize, h.wave, h.format, h.formatSize, h.sampleKind, h.channels,
                   h.sampleRate, h.bytesPerSecond, h.bytesPerFrame, h.bitsPerSample,
                   h.extensionSize, h.fact, h.factSize, h.frames, h.data, h.dataSize);
}

}  // namespace

FileDevice::~FileDevice() {
    stop();
}

void FileDevice::requestOpen(codec::SoundFormat wanted, SoundSupply& supply) {
    format_ = wanted;
    supply_ = &supply;
    frames_.setRate(std::llround(wanted.sampleRate));
    file_.reset(std::fopen(path_.c_str(), "wbe"));
    if (!file_) {
        fail("making");
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        state_ = DeviceState::ready;
    }
    writeHeader();
}

DeviceState FileDevice::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

result::Status FileDevice::failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
}

void FileDevice::fail(const char* doing) {
    const int error = errno;
    frames_.stop();
    const std::lock_guard lock(mutex_);
    if (failure_.ok()) {
        failure_ = result::systemFailure(error, std::string(doing) + " " + path_);
    }
    state_ = DeviceState::gone;
}

void FileDevice::start() {
    if (state() == DeviceState::ready) {
        frames_.start();
    }
}

void FileDevice::stop() {
    frames_.stop();
    if (state() == DeviceState::ready) {
        writeHeader();
    }
}

void FileDevice::writeHeader() {
    Header header;
    const auto channels = std::uint32_t(format_.channels);
    const std::uint64_t headerBytes = packed(header).size();
    header.riffSize = fieldOf(headerBytes - 8 + soundBytes_);
    header.channels = std::uint16_t(channels);
    header.sampleRate = std::uint32_t(format_.sampleRate);
    header.bytesPerFrame = std::uint16_t(channels * sizeof(float));
    header.bytesPerSecond = header.sampleRate * header.bytesPerFrame;
    header.frames = fieldOf(soundBytes_ / header.bytesPerFrame);
    header.dataSize = fieldOf(soundBytes_);
    const std::vector<std::byte> bytes = packed(header);
    const bool written = std::fseek(file_.get(), 0, SEEK_SET) == 0 &&
                         std::fwrite(bytes.data(), bytes.size(), 1, file_.get()) == 1 &&
                         std::fseek(file_.get(), 0, SEEK_END) == 0 && std::fflush(file_.get()) == 0;
    if (!written) {
        fail("writing");
    }
}

void FileDevice::pump(std::int64_t aheadInNanoseconds) {
    for (std::int64_t due = frames_.framesDue(aheadInNanoseconds); due > 0;) {
        const std::int64_t count = std::min(due, kFramesPerPiece);
        piece_.resize(std::size_t(count) * std::size_t(format_.channels));
        supply_->supply(piece_);
        if (std::fwrite(piece_.data(), sizeof(float), piece_.size(), file_.get()) !=
            piece_.size()) {
            fail("writing");
            return;
        }
        soundBytes_ += piece_.size() * sizeof(float);
        frames_.took(count);
        due -= count;
    }
}

}  // namespace TWQuickTime::playback
