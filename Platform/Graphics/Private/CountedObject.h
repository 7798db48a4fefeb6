// Reference counting for the objects behind CG and CM references.
#pragma once

#include <atomic>

namespace TWQuickTime {

class CountedObject {
  public:
    CountedObject() = default;
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;

    void retain() { count_.fetch_add(1, std::memory_order_relaxed); }
    /// Whether that was the last reference.
    bool release() { return count_.fetch_sub(1, std::memory_order_acq_rel) == 1; }

  private:
    std::atomic<int> count_{1};
};

template <class Object>
Object* retainCounted(Object* object) {
    if (object)
        object->retain();
    return object;
}

template <class Object>
void releaseCounted(Object* object) {
    if (object && object->release())
        delete object;
}

}  // namespace TWQuickTime
