// Relocatable blocks of bytes, reached through a pointer to a pointer.
//
// The bytes may move when a handle grows, unless it is locked; the handle itself stays what it is
// until it is disposed of. Null, foreign and already disposed handles are recognised: such a call
// does nothing and leaves nilHandleErr for MemError(). A disposed handle stays recognisable until
// its place is given to a new one, which happens as late as possible.
//
//     Handle settings = NewHandleClear(64);
//     if (!settings) return MemError();
//     HLock(settings);
//     fill(*settings, GetHandleSize(settings));
//     HUnlock(settings);
//     DisposeHandle(settings);
//
// Every call may be made on any thread; two threads that use one handle at the same time take care
// of that themselves.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Counts of bytes.
using Size = std::int64_t;

/// A new handle with bytes of no particular content; null when there is no memory (memFullErr) or
/// the count is negative (paramErr). A handle of no bytes is a handle all the same.
TWQT_EXPORT Handle NewHandle(Size byteCount);
/// The same, filled with zeros.
TWQT_EXPORT Handle NewHandleClear(Size byteCount);
/// Gives the bytes back; the handle is none from then on. A null handle is no error.
TWQT_EXPORT void DisposeHandle(Handle handle);

/// Bytes held; 0 for what is not a handle.
TWQT_EXPORT Size GetHandleSize(Handle handle);
/// Keeps the leading bytes; added ones have no particular content. A locked handle shrinks in its
/// place and does not grow beyond it (memFullErr).
TWQT_EXPORT void SetHandleSize(Handle handle, Size newSize);

/// Keeps the bytes where they are until as many HUnlock calls as HLock calls were made.
TWQT_EXPORT void HLock(Handle handle);
/// Takes one lock away; a handle without locks is left alone.
TWQT_EXPORT void HUnlock(Handle handle);

/// Whether it is a handle of this process that was not disposed of.
TWQT_EXPORT Boolean IsHandleValid(Handle handle);

/// Makes a new handle with a copy of the bytes; on failure the place is set to null.
TWQT_EXPORT OSErr PtrToHand(const void* source, Handle* destination, Size byteCount);
/// Makes a copy of the handle that the place holds and puts it there instead.
TWQT_EXPORT OSErr HandToHand(Handle* handle);
/// Appends the bytes, which may lie inside the handle itself.
TWQT_EXPORT OSErr PtrAndHand(const void* source, Handle destination, Size byteCount);
/// Appends all bytes of the first handle to the second; both may be the same.
TWQT_EXPORT OSErr HandAndHand(Handle source, Handle destination);

/// Status of the last call of this file on this thread.
TWQT_EXPORT OSErr MemError();

}  // namespace TWQuickTime
