#include "Engines/atomcontainer/AtomContainer.h"

#include "Engines/atomcontainer/BigEndianField.h"

namespace TWQuickTime::atomcontainer {

result::Failure failureFor(Fault fault) {
    using result::FailureKind;
    switch (fault) {
        case Fault::invalidContainer:
            return {FailureKind::damaged, "not an atom container"};
        case Fault::notFound:
            return {FailureKind::notFound, "no such atom"};
        case Fault::notLeaf:
            return {FailureKind::badArgument, "the atom has children, not data"};
        case Fault::hasData:
            return {FailureKind::badArgument, "the atom has data, not children"};
        case Fault::badIndex:
            return {FailureKind::badArgument, "no atom of that index"};
        case Fault::duplicate:
            return {FailureKind::exists, "another atom has that type and ID"};
        case Fault::differentTypes:
            return {FailureKind::badArgument, "the atoms are of different types"};
        case Fault::badArgument:
            return {FailureKind::badArgument, "bad argument to an atom container"};
        case Fault::tooLarge:
            return {FailureKind::limit, "the atom container would be too large"};
        case Fault::noMemory:
            return {FailureKind::limit, "no memory for the atom container"};
        case Fault::none:
        case Fault::invalidAtom:
            break;
    }
    return {FailureKind::damaged, "damaged atom in an atom container"};
}

std::array<std::byte, kEmptyContainerSize> emptyContainer() {
    std::array<std::byte, kEmptyContainerSize> bytes{};
    std::byte* root = bytes.data() + kContainerHeaderSize;
    storeField(root, std::uint32_t{kAtomHeaderSize});
    storeField(root + 4, kRootType);
    storeField(root + 8, std::uint32_t{1});
    return bytes;
}

}  // namespace TWQuickTime::atomcontainer
