#include "AtomTree.h"

#include <AtomContainers.h>
#include <Handles.h>

#include <cstdint>
#include <utility>

#include "CommandFailure.h"
#include "FourCharCodeText.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

constexpr int kDeepest = 32;

Json treeOf(QTAtomContainer container, QTAtom parent, int depth) {
    if (depth > kDeepest)
        throw failureWithStatus("settings", invalidAtomContainerErr);
    Json children = Json::array();
    QTAtom child = 0;
    while (QTNextChildAnyType(container, parent, child, &child) == noErr && child != 0) {
        QTAtomType type = 0;
        QTAtomID id = 0;
        QTGetAtomTypeAndID(container, child, &type, &id);
        Json node = {{"type", fourCharCodeText(type)}, {"id", id}, {"data", nullptr}};
        std::int32_t size = 0;
        Ptr data = nullptr;
        const bool isLeaf = QTGetAtomDataPtr(container, child, &size, &data) == noErr;
        if (isLeaf)
            node["data"] = jsonFromData(NSData::dataWithBytes(data, std::size_t(size)));
        node["children"] = isLeaf ? Json::array() : treeOf(container, child, depth + 1);
        children.push_back(std::move(node));
    }
    if (GetMoviesError() != noErr)
        throw failureWithStatus("settings", GetMoviesError());
    return children;
}

}  // namespace

Json atomTree(std::span<const std::byte> container) {
    Handle handle = nullptr;
    if (PtrToHand(container.data(), &handle, Size(container.size())) != noErr)
        throw failureWithStatus("settings", memFullErr);
    struct Disposer {
        Handle handle;
        ~Disposer() { DisposeHandle(handle); }
    } const disposer{handle};
    return treeOf(handle, kParentAtomIsContainer, 0);
}

}  // namespace twqt
