#include "Handles.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Private/HandleBytes.h"
#include "Private/HandleTable.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

thread_local OSErr lastMemoryStatus = noErr;

OSErr keep(OSStatus status) {
    lastMemoryStatus = static_cast<OSErr>(status);
    return lastMemoryStatus;
}

HandleRecord* recordOf(Handle handle) noexcept {
    return handle ? HandleTable::shared().find(handle) : nullptr;
}

Handle handleOf(HandleRecord* record) noexcept {
    return &record->bytes;
}

Handle makeHandle(Size byteCount, bool clear) noexcept {
    if (byteCount < 0) {
        keep(paramErr);
        return nullptr;
    }
    const auto size = static_cast<std::size_t>(byteCount);
    // A block of its own also for no bytes, so that every handle points to something.
    const std::size_t capacity = std::max<std::size_t>(size, 1);
    char* bytes = static_cast<char*>(clear ? std::calloc(capacity, 1) : std::malloc(capacity));
    HandleRecord* record = bytes ? HandleTable::shared().take() : nullptr;
    if (!record) {
        std::free(bytes);
        keep(memFullErr);
        return nullptr;
    }
    record->bytes = bytes;
    record->size = size;
    record->capacity = capacity;
    keep(noErr);
    return handleOf(record);
}

bool resize(HandleRecord& record, std::size_t size) noexcept {
    if (size <= record.capacity) {
        record.size = size;
        // A handle that lost most of its bytes gives the memory back.
        if (size < record.capacity / 4 && record.locks.load(std::memory_order_relaxed) == 0) {
            const std::size_t capacity = std::max<std::size_t>(size, 1);
            if (void* bytes = std::realloc(record.bytes, capacity)) {
                record.bytes = static_cast<char*>(bytes);
                record.capacity = capacity;
            }
        }
        return true;
    }
    if (record.locks.load(std::memory_order_relaxed) > 0)
        return false;
    // Growing by half keeps many small appends linear.
    const std::size_t roomy = std::max(size, record.capacity + record.capacity / 2);
    for (const std::size_t capacity : {roomy, size}) {
        if (void* bytes = std::realloc(record.bytes, capacity)) {
            record.bytes = static_cast<char*>(bytes);
            record.capacity = capacity;
            record.size = size;
            return true;
        }
    }
    return false;
}

OSErr append(HandleRecord& record, const void* source, std::size_t count) noexcept {
    const std::size_t oldSize = record.size;
    if (count > PTRDIFF_MAX - oldSize)
        return keep(memFullErr);
    // A source inside the handle moves with it.
    const char* from = static_cast<const char*>(source);
    const auto address = reinterpret_cast<std::uintptr_t>(from);
    const auto start = reinterpret_cast<std::uintptr_t>(record.bytes);
    const bool inside = address >= start && address < start + oldSize;
    const std::size_t insideOffset = inside ? address - start : 0;
    if (!resize(record, oldSize + count))
        return keep(memFullErr);
    if (count > 0)
        std::memmove(record.bytes + oldSize, inside ? record.bytes + insideOffset : from, count);
    return keep(noErr);
}

}  // namespace

Handle NewHandle(Size byteCount) {
    ToolboxCall call("NewHandle");
    if (call.faulted()) {
        keep(call.status());
        return nullptr;
    }
    return makeHandle(byteCount, false);
}

Handle NewHandleClear(Size byteCount) {
    ToolboxCall call("NewHandleClear");
    if (call.faulted()) {
        keep(call.status());
        return nullptr;
    }
    return makeHandle(byteCount, true);
}

void DisposeHandle(Handle handle) {
    ToolboxCall call("DisposeHandle");
    if (call.faulted()) {
        keep(call.status());
        return;
    }
    if (!handle) {
        keep(noErr);
        return;
    }
    HandleRecord* record = recordOf(handle);
    if (!record) {
        keep(nilHandleErr);
        return;
    }
    char* bytes = record->bytes;
    HandleTable::shared().giveBack(record);
    std::free(bytes);
    keep(noErr);
}

Size GetHandleSize(Handle handle) {
    ToolboxCall call("GetHandleSize");
    const HandleRecord* record = call.faulted() ? nullptr : recordOf(handle);
    keep(call.faulted() ? call.status() : record ? noErr : nilHandleErr);
    return record ? static_cast<Size>(record->size) : 0;
}

void SetHandleSize(Handle handle, Size newSize) {
    ToolboxCall call("SetHandleSize");
    if (call.faulted()) {
        keep(call.status());
        return;
    }
    HandleRecord* record = recordOf(handle);
    if (!record)
        keep(nilHandleErr);
    else if (newSize < 0)
        keep(paramErr);
    else
        keep(resize(*record, static_cast<std::size_t>(newSize)) ? noErr : memFullErr);
}

void HLock(Handle handle) {
    ToolboxCall call("HLock");
    HandleRecord* record = call.faulted() ? nullptr : recordOf(handle);
    if (record)
        record->locks.fetch_add(1, std::memory_order_relaxed);
    keep(call.faulted() ? call.status() : record ? noErr : nilHandleErr);
}

void HUnlock(Handle handle) {
    ToolboxCall call("HUnlock");
    HandleRecord* record = call.faulted() ? nullptr : recordOf(handle);
    if (record) {
        std::int32_t locks = record->locks.load(std::memory_order_relaxed);
        while (locks > 0 &&
               !record->locks.compare_exchange_weak(locks, locks - 1, std::memory_order_relaxed)) {
        }
    }
    keep(call.faulted() ? call.status() : record ? noErr : nilHandleErr);
}

Boolean IsHandleValid(Handle handle) {
    return recordOf(handle) != nullptr;
}

OSErr PtrToHand(const void* source, Handle* destination, Size byteCount) {
    ToolboxCall call("PtrToHand");
    if (!destination)
        return keep(paramErr);
    *destination = nullptr;
    if (call.faulted())
        return keep(call.status());
    if (!source && byteCount > 0)
        return keep(paramErr);
    *destination = makeHandle(byteCount, false);
    if (*destination && byteCount > 0)
        std::memcpy(**destination, source, static_cast<std::size_t>(byteCount));
    return MemError();
}

OSErr HandToHand(Handle* handle) {
    ToolboxCall call("HandToHand");
    if (call.faulted())
        return keep(call.status());
    const HandleRecord* record = handle ? recordOf(*handle) : nullptr;
    if (!record)
        return keep(nilHandleErr);
    Handle copy = makeHandle(static_cast<Size>(record->size), false);
    if (!copy)
        return MemError();
    std::memcpy(*copy, record->bytes, record->size);
    *handle = copy;
    return keep(noErr);
}

OSErr PtrAndHand(const void* source, Handle destination, Size byteCount) {
    ToolboxCall call("PtrAndHand");
    if (call.faulted())
        return keep(call.status());
    HandleRecord* record = recordOf(destination);
    if (!record)
        return keep(nilHandleErr);
    if (byteCount < 0 || (!source && byteCount > 0))
        return keep(paramErr);
    return append(*record, source, static_cast<std::size_t>(byteCount));
}

OSErr HandAndHand(Handle source, Handle destination) {
    ToolboxCall call("HandAndHand");
    if (call.faulted())
        return keep(call.status());
    const HandleRecord* from = recordOf(source);
    HandleRecord* to = recordOf(destination);
    if (!from || !to)
        return keep(nilHandleErr);
    return append(*to, from->bytes, from->size);
}

OSErr MemError() {
    return lastMemoryStatus;
}

std::span<std::byte> handleBytes(Handle handle) noexcept {
    HandleRecord* record = recordOf(handle);
    if (!record)
        return {};
    return {reinterpret_cast<std::byte*>(record->bytes), record->size};
}

Handle newHandleWithBytes(std::span<const std::byte> bytes) {
    Handle handle = makeHandle(static_cast<Size>(bytes.size()), false);
    if (handle && !bytes.empty())
        std::memcpy(*handle, bytes.data(), bytes.size());
    return handle;
}

bool resizeHandle(Handle handle, std::size_t byteCount) noexcept {
    HandleRecord* record = recordOf(handle);
    return record && byteCount <= PTRDIFF_MAX && resize(*record, byteCount);
}

}  // namespace TWQuickTime
