// A handle as the storage of an atom container, and the engine's faults as toolbox statuses.
#pragma once

#include "Engines/atomcontainer/AtomContainerEditor.h"
#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Private/HandleBytes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class HandleByteStore final : public atomcontainer::ByteStore {
  public:
    explicit HandleByteStore(Handle handle) : handle_(handle) {}
    std::span<std::byte> bytes() noexcept override { return handleBytes(handle_); }
    bool resize(std::size_t byteCount) noexcept override {
        return resizeHandle(handle_, byteCount);
    }

  private:
    Handle handle_;
};

OSErr statusForFault(atomcontainer::Fault fault) noexcept;

}  // namespace TWQuickTime
