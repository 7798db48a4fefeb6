#include "Engines/moviefile/InputMapAtom.h"

namespace TWQuickTime::moviefile {
namespace {

constexpr FourCharCode kRootType = fourCharCode("sean");
constexpr FourCharCode kInputType = 0x0000696E;  // two zero bytes, 'in'
constexpr std::size_t kContainerHeaderInBytes = 12;
constexpr std::size_t kContainerAtomHeaderInBytes = 20;
constexpr std::size_t kShortLeafInBytes = 12;
/// Deeper than inputs and their properties nothing is known.
constexpr int kGreatestDepth = 8;

std::uint32_t u32At(const SharedBytes& bytes, std::size_t offset) {
    return loadBigEndian<std::uint32_t>(bytes.data() + offset);
}

bool isAtomAt(const SharedBytes& bytes, std::size_t offset, FourCharCode type) {
    return bytes.size() >= offset + kContainerAtomHeaderInBytes &&
           u32At(bytes, offset + 4) == type && u32At(bytes, offset) <= bytes.size() - offset;
}

void putHeader(FieldWriter& writer, std::size_t size, FourCharCode type, std::int32_t id,
               std::size_t children) {
    writer.field("size", static_cast<std::uint32_t>(size));
    writer.field("type", type);
    writer.field("id", id);
    writer.field("reserved", std::uint16_t{0});
    writer.field("children", static_cast<std::uint16_t>(children));
    writer.field("reserved", std::uint32_t{0});
}

struct Children {
    std::vector<std::byte> bytes;
    std::size_t count = 0;
    bool valid = true;
};

/// The atoms of a payload, leaves of 12 bytes widened to what containers hold.
Children widenedChildren(const SharedBytes& payload, int depth) {
    Children children;
    FieldWriter writer(children.bytes);
    std::size_t offset = 0;
    while (payload.size() - offset >= 8) {
        const std::uint32_t size = u32At(payload, offset);
        if (size < 8 || size > payload.size() - offset)
            break;
        const FourCharCode type = u32At(payload, offset + 4);
        const SharedBytes atom = payload.part(offset, size);
        if (size == kShortLeafInBytes) {
            putHeader(writer, kContainerAtomHeaderInBytes + 4, type, 1, 0);
            writer.remainder("value", atom.part(8));
        } else if (size >= kContainerAtomHeaderInBytes && depth < kGreatestDepth) {
            const auto id = static_cast<std::int32_t>(u32At(atom, 8));
            const SharedBytes inside = atom.part(kContainerAtomHeaderInBytes);
            if (loadBigEndian<std::uint16_t>(atom.data() + 14) == 0) {
                writer.remainder("leaf", atom);
            } else {
                const Children inner = widenedChildren(inside, depth + 1);
                children.valid = children.valid && inner.valid;
                putHeader(writer, kContainerAtomHeaderInBytes + inner.bytes.size(), type, id,
                          inner.count);
                writer.remainder("children", SharedBytes(inner.bytes, nullptr));
            }
        } else {
            children.valid = false;
            return children;
        }
        ++children.count;
        offset += size;
    }
    children.valid = children.valid && children.count <= 0xFFFF;
    return children;
}

}  // namespace

SharedBytes inputMapContainer(const SharedBytes& payload) {
    if (isAtomAt(payload, kContainerHeaderInBytes, kRootType))
        return payload;
    if (isAtomAt(payload, 0, kRootType)) {
        std::vector<std::byte> container(kContainerHeaderInBytes);
        FieldWriter(container).remainder("root", payload);
        return SharedBytes::adopt(std::move(container));
    }
    if (!isAtomAt(payload, 0, kInputType))
        return {};
    const Children inputs = widenedChildren(payload, 0);
    if (!inputs.valid)
        return {};
    std::vector<std::byte> container(kContainerHeaderInBytes);
    FieldWriter writer(container);
    putHeader(writer, kContainerAtomHeaderInBytes + inputs.bytes.size(), kRootType, 1,
              inputs.count);
    writer.remainder("inputs", SharedBytes(inputs.bytes, nullptr));
    return SharedBytes::adopt(std::move(container));
}

}  // namespace TWQuickTime::moviefile
