#include "Engines/timeline/TweenSample.h"

#include <optional>

#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Engines/timeline/FourCharCode.h"

namespace TWQuickTime::timeline {
namespace {

using atomcontainer::Atom;
using atomcontainer::AtomContainerReader;
using atomcontainer::kRoot;
using atomcontainer::Lookup;

constexpr std::uint32_t kShortTween = 1;
constexpr FourCharCode kInput = 26990;      // two zero bytes, "in"
constexpr FourCharCode kInputKind = 29817;  // two zero bytes, "ty"

/// The number in a leaf of four bytes.
std::optional<std::uint32_t> numberOf(const AtomContainerReader& reader, const Lookup& leaf) {
    const std::span<const std::byte> data = leaf ? reader.data(leaf.atom) : std::span<std::byte>();
    if (data.size() != 4)
        return std::nullopt;
    std::uint32_t value = 0;
    for (const std::byte byte : data)
        value = value << 8 | std::to_integer<std::uint32_t>(byte);
    return value;
}

std::optional<std::uint32_t> childNumber(const AtomContainerReader& reader, const Atom& parent,
                                         FourCharCode type) {
    return numberOf(reader, reader.findByIndex(parent.offset, type, 1));
}

/// Visits the children of the root that have a type.
template <class Visit>
void forEachOfType(const AtomContainerReader& reader, FourCharCode type, Visit visit) {
    for (Lookup child = reader.nextChild(kRoot, 0); child;
         child = reader.nextChild(kRoot, child.atom.offset))
        if (child.atom.type == type)
            visit(child.atom);
}

}  // namespace

std::vector<ShortTween> shortTweensOfSample(std::span<const std::byte> container,
                                            std::int64_t sampleDuration) {
    std::vector<ShortTween> tweens;
    const AtomContainerReader reader(container);
    forEachOfType(reader, fourCharCode("twen"), [&](const Atom& entry) {
        if (childNumber(reader, entry, fourCharCode("twnt")) != kShortTween)
            return;
        auto values = childNumber(reader, entry, fourCharCode("data"));
        if (!values)
            values = childNumber(reader, entry, fourCharCode("twdt"));
        if (!values)
            return;
        const auto offset = childNumber(reader, entry, fourCharCode("twst"));
        const auto duration = childNumber(reader, entry, fourCharCode("twdu"));
        tweens.push_back({.startOffset = offset.value_or(0),
                          .duration = duration ? std::int64_t{*duration} : sampleDuration,
                          .startValue = static_cast<std::int16_t>(*values >> 16),
                          .endValue = static_cast<std::int16_t>(*values & 0xFFFF)});
    });
    return tweens;
}

std::vector<std::uint32_t> inputsOfKind(std::span<const std::byte> inputMap, std::uint32_t kind) {
    std::vector<std::uint32_t> inputs;
    const AtomContainerReader reader(inputMap);
    forEachOfType(reader, kInput, [&](const Atom& input) {
        if (input.id > 0 && childNumber(reader, input, kInputKind) == kind)
            inputs.push_back(static_cast<std::uint32_t>(input.id));
    });
    return inputs;
}

}  // namespace TWQuickTime::timeline
