// A handle's bytes as a span, for the library's own code.
#pragma once

#include <cstddef>
#include <span>

#include "Handles.h"

namespace TWQuickTime {

/// All bytes of a handle, in their place until it grows or goes; empty for what is not a handle.
std::span<std::byte> handleBytes(Handle handle) noexcept;

/// A new handle with a copy of the bytes; null when there is no memory.
Handle newHandleWithBytes(std::span<const std::byte> bytes);

/// Sets the size without touching the thread's status; false when there is no memory, the handle is
/// locked and would have to move, or it is no handle.
bool resizeHandle(Handle handle, std::size_t byteCount) noexcept;

}  // namespace TWQuickTime
