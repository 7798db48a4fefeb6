// Atom containers: trees of typed, numbered atoms in the bytes of a handle.
//
// A container is a handle whose bytes are the file form itself (see the engine's description: a
// 12-byte header, a root atom 'sean', atoms with 20-byte headers, everything big-endian); so
// settings can be stored and handed over as they are. An atom is referred to by its byte offset,
// the container itself by kParentAtomIsContainer; inserting and removing shift all later atoms. A
// handle of no bytes is a container without children.
//
//     QTAtomContainer settings = nullptr;
//     QTNewAtomContainer(&settings);
//     QTAtom video = 0;
//     QTInsertChild(settings, kParentAtomIsContainer, fourCC("vide"), 1, 0, 0, nullptr, &video);
//     QTInsertChild(settings, video, fourCC("wdth"), 1, 0, 4, width, nullptr);
//     QTDisposeAtomContainer(settings);
//
// Statuses besides 0: invalidAtomContainerErr (no handle, or bytes that are no container),
// invalidAtomErr (no such reference, damaged atom), cannotFindAtomErr, notLeafAtomErr (children
// where data are wanted), notALeafAtomErr (data where children are wanted), atomIndexInvalidErr,
// duplicateAtomTypeAndIDErr, paramErr, memFullErr. A failed call changes nothing.
// All calls may be made on any thread, one at a time for one container.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

using QTAtomType = OSType;
using QTAtomID = std::int32_t;

/// The reference of the container itself.
constexpr QTAtom kParentAtomIsContainer = 0;
constexpr OSErr atomsNotOfSameTypeErr = -2103;

/// A new container of 32 bytes without children, disposed of by the caller.
TWQT_EXPORT OSErr QTNewAtomContainer(QTAtomContainer* container);
TWQT_EXPORT OSErr QTDisposeAtomContainer(QTAtomContainer container);

/// Keeps the bytes in place and counts the lock in the container's header.
TWQT_EXPORT OSErr QTLockContainer(QTAtomContainer container);
TWQT_EXPORT OSErr QTUnlockContainer(QTAtomContainer container);

/// @param parent     an atom without data, or kParentAtomIsContainer
/// @param id         0 asks for an ID that no child of that type has
/// @param index      place among the children of that type, from 1; 0 puts it after all children
/// @param dataSize   bytes of data, 0 for an atom that is to have children
/// @param data       copied, may lie inside the container; null gives zeros
/// @param newAtom    set to the new atom's reference; may be null
TWQT_EXPORT OSErr QTInsertChild(QTAtomContainer container, QTAtom parent, QTAtomType type,
                                QTAtomID id, std::int16_t index, std::int32_t dataSize,
                                const void* data, QTAtom* newAtom);
/// Appends copies of all children of the second container; the same container may be given twice.
TWQT_EXPORT OSErr QTInsertChildren(QTAtomContainer container, QTAtom parent,
                                   QTAtomContainer childrenContainer);

/// @param currentChild  the child to go on from; 0 gives the first
/// @param nextChild     set to 0 at the end, which is no error
TWQT_EXPORT OSErr QTNextChildAnyType(QTAtomContainer container, QTAtom parent, QTAtom currentChild,
                                     QTAtom* nextChild);
/// The type that comes after a given one among the parent's children, in the order of their first
/// appearance. @param currentType  0 gives the first. @param nextType  set to 0 at the end
TWQT_EXPORT OSErr QTGetNextChildType(QTAtomContainer container, QTAtom parent,
                                     QTAtomType currentType, QTAtomType* nextType);
/// The child, 0 when there is none or the container is none; GetMoviesError() tells which.
/// @param index  set to its number among the children of its type, from 1; may be null
TWQT_EXPORT QTAtom QTFindChildByID(QTAtomContainer container, QTAtom parent, QTAtomType type,
                                   QTAtomID id, std::int16_t* index);
/// @param type   0 for children of any type
/// @param index  from 1
/// @param id     set to the child's ID; may be null
TWQT_EXPORT QTAtom QTFindChildByIndex(QTAtomContainer container, QTAtom parent, QTAtomType type,
                                      std::int16_t index, QTAtomID* id);
/// @param type  0 counts children of every type
TWQT_EXPORT std::int16_t QTCountChildrenOfType(QTAtomContainer container, QTAtom parent,
                                               QTAtomType type);
/// 0 also for the container's own children; GetMoviesError() tells what is wrong otherwise.
TWQT_EXPORT QTAtom QTGetAtomParent(QTAtomContainer container, QTAtom child);
/// Either place may be null.
TWQT_EXPORT OSErr QTGetAtomTypeAndID(QTAtomContainer container, QTAtom atom, QTAtomType* type,
                                     QTAtomID* id);
/// @param id  not 0
TWQT_EXPORT OSErr QTSetAtomID(QTAtomContainer container, QTAtom atom, QTAtomID id);

/// Where the data lie: valid until the container changes, or as long as it is locked.
TWQT_EXPORT OSErr QTGetAtomDataPtr(QTAtomContainer container, QTAtom atom, std::int32_t* dataSize,
                                   Ptr* data);
/// @param sizeOrLessOK  whether fewer bytes than asked for will do
/// @param size          bytes that the place can take; data of more bytes give paramErr
/// @param actualSize    set to the bytes copied; may be null
TWQT_EXPORT OSErr QTCopyAtomDataToPtr(QTAtomContainer container, QTAtom atom, Boolean sizeOrLessOK,
                                      std::int32_t size, void* target, std::int32_t* actualSize);
/// Replaces all bytes of an existing handle.
TWQT_EXPORT OSErr QTCopyAtomDataToHandle(QTAtomContainer container, QTAtom atom, Handle target);
/// Replaces a leaf's data; null data with a size give zeros.
TWQT_EXPORT OSErr QTSetAtomData(QTAtomContainer container, QTAtom atom, std::int32_t dataSize,
                                const void* data);

/// The atom with its descendants; for the container itself, its children.
TWQT_EXPORT OSErr QTRemoveAtom(QTAtomContainer container, QTAtom atom);
TWQT_EXPORT OSErr QTRemoveChildren(QTAtomContainer container, QTAtom atom);
/// A new container that holds a copy of the atom with its descendants; a copy of the whole
/// container for kParentAtomIsContainer.
TWQT_EXPORT OSErr QTCopyAtom(QTAtomContainer container, QTAtom atom, QTAtomContainer* target);
/// Exchanges data or children of two atoms of the same type; their IDs stay.
TWQT_EXPORT OSErr QTSwapAtoms(QTAtomContainer container, QTAtom first, QTAtom second);
/// Gives an atom the data or children of another one of the same type; its ID stays.
TWQT_EXPORT OSErr QTReplaceAtom(QTAtomContainer container, QTAtom atom,
                                QTAtomContainer replacementContainer, QTAtom replacement);

}  // namespace TWQuickTime
