#include "AtomContainers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "Engines/atomcontainer/BigEndianField.h"
#include "Handles.h"
#include "Private/AtomContainerHandle.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {

using atomcontainer::Atom;
using atomcontainer::AtomContainerEditor;
using atomcontainer::AtomContainerReader;
using atomcontainer::Fault;
using atomcontainer::Lookup;

namespace {

std::span<const std::byte> bytesAt(const void* data, std::int32_t size) {
    return {static_cast<const std::byte*>(data), static_cast<std::size_t>(size)};
}

std::int16_t limitedToShort(std::int32_t value) {
    return static_cast<std::int16_t>(
        std::min<std::int32_t>(value, std::numeric_limits<std::int16_t>::max()));
}

/// The leaf's atom, or the status why there is none.
OSErr findLeaf(QTAtomContainer container, QTAtom atom, Atom& leaf) {
    if (!IsHandleValid(container))
        return invalidAtomContainerErr;
    const Lookup found = AtomContainerReader(handleBytes(container)).atom(atom);
    if (!found)
        return statusForFault(found.fault);
    if (!found.atom.isLeaf() || atom == kParentAtomIsContainer)
        return notLeafAtomErr;
    leaf = found.atom;
    return noErr;
}

/// Checks the handle and makes the change.
template <class Change>
OSErr edit(ToolboxCall& call, QTAtomContainer container, Change change) {
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    HandleByteStore store(container);
    AtomContainerEditor editor(store);
    return call.finish(statusForFault(change(editor)));
}

/// Adds one to the count of locks in the container's bytes, or takes one off.
OSErr countLock(QTAtomContainer container, int change, OSErr statusAtTheLimit) {
    const std::span<std::byte> bytes = handleBytes(container);
    if (!IsHandleValid(container) || AtomContainerReader(bytes).fault() != Fault::none)
        return invalidAtomContainerErr;
    if (bytes.empty())
        return noErr;
    std::byte* field = bytes.data() + atomcontainer::kLockCountOffset;
    const int locks = atomcontainer::loadField<std::uint16_t>(field) + change;
    if (locks < 0 || locks > std::numeric_limits<std::uint16_t>::max())
        return statusAtTheLimit;
    atomcontainer::storeField(field, static_cast<std::uint16_t>(locks));
    return noErr;
}

}  // namespace

OSErr statusForFault(Fault fault) noexcept {
    switch (fault) {
        case Fault::none:
            return noErr;
        case Fault::invalidContainer:
            return invalidAtomContainerErr;
        case Fault::invalidAtom:
            return invalidAtomErr;
        case Fault::notFound:
            return cannotFindAtomErr;
        case Fault::notLeaf:
            return notLeafAtomErr;
        case Fault::hasData:
            return notALeafAtomErr;
        case Fault::badIndex:
            return atomIndexInvalidErr;
        case Fault::duplicate:
            return duplicateAtomTypeAndIDErr;
        case Fault::differentTypes:
            return atomsNotOfSameTypeErr;
        case Fault::badArgument:
            return paramErr;
        case Fault::tooLarge:
        case Fault::noMemory:
            break;
    }
    return memFullErr;
}

OSErr QTNewAtomContainer(QTAtomContainer* container) {
    ToolboxCall call("QTNewAtomContainer");
    if (!container)
        return call.fail(paramErr);
    *container = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    *container = newHandleWithBytes(atomcontainer::emptyContainer());
    return call.finish(*container ? noErr : memFullErr);
}

OSErr QTDisposeAtomContainer(QTAtomContainer container) {
    ToolboxCall call("QTDisposeAtomContainer");
    if (call.faulted()) {
        // A planned failure gives the bytes back all the same: nobody else would.
        DisposeHandle(container);
        return static_cast<OSErr>(call.status());
    }
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    DisposeHandle(container);
    return call.succeed();
}

OSErr QTLockContainer(QTAtomContainer container) {
    ToolboxCall call("QTLockContainer");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (const OSErr status = countLock(container, 1, invalidAtomContainerErr); status != noErr)
        return call.fail(status);
    HLock(container);
    return call.succeed();
}

OSErr QTUnlockContainer(QTAtomContainer container) {
    ToolboxCall call("QTUnlockContainer");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (const OSErr status = countLock(container, -1, paramErr); status != noErr)
        return call.fail(status);
    HUnlock(container);
    return call.succeed();
}

OSErr QTInsertChild(QTAtomContainer container, QTAtom parent, QTAtomType type, QTAtomID id,
                    std::int16_t index, std::int32_t dataSize, const void* data, QTAtom* newAtom) {
    ToolboxCall call("QTInsertChild");
    if (newAtom)
        *newAtom = 0;
    return edit(call, container, [&](AtomContainerEditor& editor) {
        if (dataSize < 0)
            return Fault::badArgument;
        const atomcontainer::NewAtom what{type, id, index};
        const Lookup made =
            data ? editor.insertChild(parent, what, bytesAt(data, dataSize))
                 : editor.insertZeros(parent, what, static_cast<std::size_t>(dataSize));
        if (made && newAtom)
            *newAtom = made.atom.offset;
        return made.fault;
    });
}

OSErr QTInsertChildren(QTAtomContainer container, QTAtom parent,
                       QTAtomContainer childrenContainer) {
    ToolboxCall call("QTInsertChildren");
    return edit(call, container, [&](AtomContainerEditor& editor) {
        if (!IsHandleValid(childrenContainer))
            return Fault::invalidContainer;
        return editor.insertChildren(parent, handleBytes(childrenContainer));
    });
}

OSErr QTNextChildAnyType(QTAtomContainer container, QTAtom parent, QTAtom currentChild,
                         QTAtom* nextChild) {
    ToolboxCall call("QTNextChildAnyType");
    if (!nextChild)
        return call.fail(paramErr);
    *nextChild = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    const Lookup next = AtomContainerReader(handleBytes(container)).nextChild(parent, currentChild);
    if (next)
        *nextChild = next.atom.offset;
    return call.finish(next.fault == Fault::notFound ? noErr : statusForFault(next.fault));
}

OSErr QTGetNextChildType(QTAtomContainer container, QTAtom parent, QTAtomType currentType,
                         QTAtomType* nextType) {
    ToolboxCall call("QTGetNextChildType");
    if (!nextType)
        return call.fail(paramErr);
    *nextType = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    const AtomContainerReader reader(handleBytes(container));
    std::vector<QTAtomType> seen;
    bool currentPassed = currentType == 0;
    Lookup child = reader.nextChild(parent, 0);
    for (; child; child = reader.nextChild(parent, child.atom.offset)) {
        const QTAtomType type = child.atom.type;
        if (std::find(seen.begin(), seen.end(), type) != seen.end())
            continue;
        if (currentPassed) {
            *nextType = type;
            return call.succeed();
        }
        currentPassed = type == currentType;
        seen.push_back(type);
    }
    if (child.fault != Fault::notFound)
        return call.fail(statusForFault(child.fault));
    return call.finish(currentPassed ? noErr : cannotFindAtomErr);
}

QTAtom QTFindChildByID(QTAtomContainer container, QTAtom parent, QTAtomType type, QTAtomID id,
                       std::int16_t* index) {
    ToolboxCall call("QTFindChildByID");
    if (index)
        *index = 0;
    if (call.faulted())
        return 0;
    if (!IsHandleValid(container)) {
        call.fail(invalidAtomContainerErr);
        return 0;
    }
    const AtomContainerReader reader(handleBytes(container));
    const Lookup found = reader.findByID(parent, type, id);
    call.finish(statusForFault(found.fault));
    if (found && index)
        *index = limitedToShort(reader.indexOf(parent, found.atom.offset));
    return found.atom.offset;
}

QTAtom QTFindChildByIndex(QTAtomContainer container, QTAtom parent, QTAtomType type,
                          std::int16_t index, QTAtomID* id) {
    ToolboxCall call("QTFindChildByIndex");
    if (id)
        *id = 0;
    if (call.faulted())
        return 0;
    if (!IsHandleValid(container)) {
        call.fail(invalidAtomContainerErr);
        return 0;
    }
    const Lookup found =
        AtomContainerReader(handleBytes(container)).findByIndex(parent, type, index);
    call.finish(statusForFault(found.fault));
    if (found && id)
        *id = found.atom.id;
    return found.atom.offset;
}

std::int16_t QTCountChildrenOfType(QTAtomContainer container, QTAtom parent, QTAtomType type) {
    ToolboxCall call("QTCountChildrenOfType");
    if (call.faulted())
        return 0;
    if (!IsHandleValid(container)) {
        call.fail(invalidAtomContainerErr);
        return 0;
    }
    std::int32_t count = 0;
    const Fault fault =
        AtomContainerReader(handleBytes(container)).countChildren(parent, type, count);
    call.finish(statusForFault(fault));
    return limitedToShort(count);
}

QTAtom QTGetAtomParent(QTAtomContainer container, QTAtom child) {
    ToolboxCall call("QTGetAtomParent");
    if (call.faulted())
        return 0;
    if (!IsHandleValid(container)) {
        call.fail(invalidAtomContainerErr);
        return 0;
    }
    const Lookup parent = AtomContainerReader(handleBytes(container)).parentOf(child);
    call.finish(statusForFault(parent.fault));
    return parent.atom.offset;
}

OSErr QTGetAtomTypeAndID(QTAtomContainer container, QTAtom atom, QTAtomType* type, QTAtomID* id) {
    ToolboxCall call("QTGetAtomTypeAndID");
    if (type)
        *type = 0;
    if (id)
        *id = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    const Lookup found = AtomContainerReader(handleBytes(container)).atom(atom);
    if (found && type)
        *type = found.atom.type;
    if (found && id)
        *id = found.atom.id;
    return call.finish(statusForFault(found.fault));
}

OSErr QTSetAtomID(QTAtomContainer container, QTAtom atom, QTAtomID id) {
    ToolboxCall call("QTSetAtomID");
    return edit(call, container,
                [&](AtomContainerEditor& editor) { return editor.setID(atom, id); });
}

OSErr QTGetAtomDataPtr(QTAtomContainer container, QTAtom atom, std::int32_t* dataSize, Ptr* data) {
    ToolboxCall call("QTGetAtomDataPtr");
    if (dataSize)
        *dataSize = 0;
    if (data)
        *data = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    Atom leaf;
    if (const OSErr status = findLeaf(container, atom, leaf); status != noErr)
        return call.fail(status);
    if (dataSize)
        *dataSize = static_cast<std::int32_t>(leaf.size - atomcontainer::kAtomHeaderSize);
    if (data)
        *data = *container + leaf.contentBegin();
    return call.succeed();
}

OSErr QTCopyAtomDataToPtr(QTAtomContainer container, QTAtom atom, Boolean sizeOrLessOK,
                          std::int32_t size, void* target, std::int32_t* actualSize) {
    ToolboxCall call("QTCopyAtomDataToPtr");
    if (actualSize)
        *actualSize = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    Atom leaf;
    if (const OSErr status = findLeaf(container, atom, leaf); status != noErr)
        return call.fail(status);
    const auto dataSize = static_cast<std::int32_t>(leaf.size - atomcontainer::kAtomHeaderSize);
    if (dataSize > size || (dataSize < size && !sizeOrLessOK) || (!target && dataSize > 0))
        return call.fail(paramErr);
    if (dataSize > 0)
        std::memcpy(target, *container + leaf.contentBegin(), static_cast<std::size_t>(dataSize));
    if (actualSize)
        *actualSize = dataSize;
    return call.succeed();
}

OSErr QTCopyAtomDataToHandle(QTAtomContainer container, QTAtom atom, Handle target) {
    ToolboxCall call("QTCopyAtomDataToHandle");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    Atom leaf;
    if (const OSErr status = findLeaf(container, atom, leaf); status != noErr)
        return call.fail(status);
    if (!IsHandleValid(target))
        return call.fail(nilHandleErr);
    const std::size_t size = leaf.size - atomcontainer::kAtomHeaderSize;
    if (target == container)
        return call.fail(paramErr);
    if (!resizeHandle(target, size))
        return call.fail(memFullErr);
    std::memcpy(*target, *container + leaf.contentBegin(), size);
    return call.succeed();
}

OSErr QTSetAtomData(QTAtomContainer container, QTAtom atom, std::int32_t dataSize,
                    const void* data) {
    ToolboxCall call("QTSetAtomData");
    return edit(call, container, [&](AtomContainerEditor& editor) {
        if (dataSize < 0)
            return Fault::badArgument;
        if (data)
            return editor.setData(atom, bytesAt(data, dataSize));
        return editor.setData(atom, std::vector<std::byte>(static_cast<std::size_t>(dataSize)));
    });
}

OSErr QTRemoveAtom(QTAtomContainer container, QTAtom atom) {
    ToolboxCall call("QTRemoveAtom");
    return edit(call, container, [&](AtomContainerEditor& editor) { return editor.remove(atom); });
}

OSErr QTRemoveChildren(QTAtomContainer container, QTAtom atom) {
    ToolboxCall call("QTRemoveChildren");
    return edit(call, container,
                [&](AtomContainerEditor& editor) { return editor.removeChildren(atom); });
}

OSErr QTCopyAtom(QTAtomContainer container, QTAtom atom, QTAtomContainer* target) {
    ToolboxCall call("QTCopyAtom");
    if (!target)
        return call.fail(paramErr);
    *target = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!IsHandleValid(container))
        return call.fail(invalidAtomContainerErr);
    const std::span<const std::byte> bytes = handleBytes(container);
    const Lookup found = AtomContainerReader(bytes).atom(atom);
    if (!found)
        return call.fail(statusForFault(found.fault));
    const auto empty = atomcontainer::emptyContainer();
    std::vector<std::byte> copy(empty.begin(), empty.end());
    std::byte* root = copy.data() + atomcontainer::kContainerHeaderSize;
    if (bytes.empty() || atom == kParentAtomIsContainer) {
        if (!bytes.empty())
            copy.assign(bytes.begin(), bytes.end());
        // A copy is not locked, whatever the original is.
        copy[atomcontainer::kLockCountOffset] = copy[atomcontainer::kLockCountOffset + 1] =
            std::byte{0};
    } else {
        atomcontainer::storeField(root,
                                  std::uint32_t{atomcontainer::kAtomHeaderSize} + found.atom.size);
        atomcontainer::storeField(root + 14, std::uint16_t{1});
        const auto source = bytes.subspan(found.atom.begin, found.atom.size);
        copy.insert(copy.end(), source.begin(), source.end());
    }
    *target = newHandleWithBytes(copy);
    return call.finish(*target ? noErr : memFullErr);
}

OSErr QTSwapAtoms(QTAtomContainer container, QTAtom first, QTAtom second) {
    ToolboxCall call("QTSwapAtoms");
    return edit(call, container,
                [&](AtomContainerEditor& editor) { return editor.swapContents(first, second); });
}

OSErr QTReplaceAtom(QTAtomContainer container, QTAtom atom, QTAtomContainer replacementContainer,
                    QTAtom replacement) {
    ToolboxCall call("QTReplaceAtom");
    return edit(call, container, [&](AtomContainerEditor& editor) {
        if (!IsHandleValid(replacementContainer))
            return Fault::invalidContainer;
        return editor.replaceContents(atom, handleBytes(replacementContainer), replacement);
    });
}

}  // namespace TWQuickTime
