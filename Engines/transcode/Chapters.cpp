#include "Engines/transcode/Chapters.h"

#include <algorithm>
#include <optional>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/ClassicText.h"
#include "Engines/moviefile/MovieText.h"
#include "Engines/transcode/EditMap.h"

namespace TWQuickTime::transcode {

using codec::fourCode;

namespace {

/// More entries than anyone reads; a hostile table stops here.
constexpr std::uint32_t kMostChapters = 10000;
constexpr std::int64_t kListUnitsPerSecond = 10'000'000;
/// Encodings below are those of classic scripts.
constexpr std::uint32_t kTextEncodingUtf8 = 0x100;

struct Mark {
    std::int64_t time = 0;  ///< movie time units
    std::string title;
};

/// Of the atom behind a text, which names its encoding; none when there is no such atom.
std::optional<std::uint32_t> encodingIn(codec::Bytes atoms) {
    while (atoms.size() >= 8) {
        const std::size_t size = codec::u32At(atoms, 0);
        if (size < 8 || size > atoms.size()) {
            break;
        }
        if (codec::u32At(atoms, 4) == fourCode("encd") && size >= 12) {
            return codec::u32At(atoms, 8);
        }
        atoms = atoms.subspan(size);
    }
    return std::nullopt;
}

/// The text of a text sample: its length, the text, and atoms.
std::string titleIn(codec::Bytes sample) {
    if (sample.size() < 2) {
        return {};
    }
    const std::size_t length = std::min<std::size_t>(codec::u16At(sample, 0), sample.size() - 2);
    const codec::Bytes text = sample.subspan(2, length);
    if (text.size() >= 2 && codec::u16At(text, 0) == 0xFEFF) {
        return moviefile::fromUtf16(text.subspan(2));
    }
    std::string bytes(reinterpret_cast<const char*>(text.data()), text.size());
    const auto encoding = encodingIn(sample.subspan(2 + length));
    // Many writers of UTF-8 do not say so; what could be no UTF-8 is from before it.
    if (encoding) {
        return *encoding < kTextEncodingUtf8 ? moviefile::fromClassicScript(bytes, *encoding)
                                             : bytes;
    }
    return moviefile::isUtf8(bytes) ? bytes : moviefile::fromClassicRoman(bytes);
}

const timeline::Track* chapterTrack(const timeline::Movie& movie) {
    for (const auto& track : movie.tracks) {
        const timeline::TrackReferences* references = track->referencesOfType(fourCode("chap"));
        for (const std::uint32_t id :
             references ? references->trackIDs : std::vector<std::uint32_t>()) {
            const timeline::Track* found = movie.trackWithID(id);
            // Some writers name a track of pictures here as well.
            if (found && found->media &&
                (found->media->type() == fourCode("text") ||
                 found->media->type() == fourCode("sbtl"))) {
                return found;
            }
        }
    }
    return nullptr;
}

std::vector<Mark> marksOfTrack(const timeline::Movie& movie, const timeline::Track& track) {
    std::vector<Mark> marks;
    const EditMap edits(track, movie.timeScale);
    const timeline::SampleTable& samples = track.media->samples;
    const std::int64_t end = track.duration();
    for (std::int64_t time = 0; time < end && marks.size() < kMostChapters;) {
        const auto shown = edits.at({time, movie.timeScale});
        const std::int64_t editEnd =
            edits.endOfEdit({time, movie.timeScale}, movie.timeScale).value_or(end);
        const auto index = shown ? samples.sampleAtDecodeTime(shown->mediaTime) : std::nullopt;
        const auto sample = samples.sample(index.value_or(0));
        if (!index || !sample) {
            time = std::max(editEnd, time + 1);
            continue;
        }
        if (const auto bytes = track.media->readSample(*sample)) {
            marks.push_back({time, titleIn(*bytes)});
        }
        const std::int64_t next =
            edits.whenReached(shown->edit, sample->decodeTime + sample->duration, movie.timeScale);
        time = std::max(std::min(editEnd, next), time + 1);
    }
    return marks;
}

/// Version and flags, in version 1 four bytes more, a count of one byte, then times in units of
/// 100 ns and titles with their lengths.
std::vector<Mark> marksOfList(const timeline::Movie& movie, codec::Bytes list) {
    std::vector<Mark> marks;
    if (list.size() < 5) {
        return marks;
    }
    std::size_t at = std::to_integer<int>(list[0]) == 0 ? 4 : 8;
    if (at >= list.size()) {
        return marks;
    }
    auto left = std::to_integer<unsigned>(list[at++]);
    for (; left > 0 && at + 9 <= list.size(); --left) {
        const auto time =
            static_cast<std::uint64_t>(codec::u32At(list, at)) << 32 | codec::u32At(list, at + 4);
        const std::size_t length =
            std::min<std::size_t>(std::to_integer<std::size_t>(list[at + 8]), list.size() - at - 9);
        const std::int64_t units = std::int64_t(std::min<std::uint64_t>(time, INT64_MAX));
        marks.push_back({timeline::rescale(units, kListUnitsPerSecond, movie.timeScale),
                         std::string(reinterpret_cast<const char*>(list.data() + at + 9), length)});
        at += 9 + length;
    }
    std::ranges::stable_sort(marks, {}, &Mark::time);
    return marks;
}

}  // namespace

std::vector<Chapter> chaptersOf(const timeline::Movie& movie, std::int64_t start,
                                std::int64_t duration) {
    std::vector<Mark> marks;
    if (const timeline::Track* track = chapterTrack(movie)) {
        marks = marksOfTrack(movie, *track);
    } else if (const timeline::UserDataItem* list = movie.userData.find(fourCode("chpl"))) {
        marks = marksOfList(movie, list->data.span());
    }
    std::vector<Chapter> chapters;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const std::int64_t from = std::max<std::int64_t>(marks[i].time - start, 0);
        const std::int64_t next = i + 1 < marks.size() ? marks[i + 1].time - start : duration;
        const std::int64_t to = std::min(next, duration);
        // A place without a title is what lies in front of the first chapter.
        if (from < to && !marks[i].title.empty()) {
            chapters.push_back({from, to, marks[i].title});
        }
    }
    return chapters;
}

std::vector<std::byte> chapterSample(const std::string& title) {
    const std::size_t length = std::min<std::size_t>(title.size(), 0xFFFF);
    codec::ByteWriter writer;
    writer.u16(std::uint32_t(length)).raw(std::as_bytes(std::span(title.data(), length)));
    const std::size_t atom = writer.openAtom(fourCode("encd"));
    writer.u32(kTextEncodingUtf8).closeAtom(atom);
    return writer.take();
}

std::vector<std::byte> chapterDescription() {
    codec::ByteWriter writer;
    const std::size_t record = writer.openAtom(fourCode("text"));
    writer.zeros(6).u16(1);
    // Flags, alignment, background, box, reserved, font, face, reserved, colour, an empty name.
    writer.u32(0).u32(0).zeros(6).zeros(8).zeros(8).u16(0).u16(0).u8(0).u16(0).zeros(6).u8(0);
    writer.closeAtom(record);
    return writer.take();
}

}  // namespace TWQuickTime::transcode
