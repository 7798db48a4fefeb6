// Which objects of one kind exist, so that a call can tell a real one from any other pointer.
//
// The toolbox hands out addresses of records; what comes back may be null, foreign or disposed of
// long ago, and is never followed before it was found here.
#pragma once

#include <mutex>
#include <unordered_set>

namespace TWQuickTime {

template <class Record>
class LiveObjects {
  public:
    static LiveObjects& shared() {
        // Never destroyed: records may still go while the process ends.
        static auto* objects = new LiveObjects;
        return *objects;
    }

    void add(const Record* record) {
        std::lock_guard lock(mutex_);
        records_.insert(record);
    }
    void remove(const Record* record) {
        std::lock_guard lock(mutex_);
        records_.erase(record);
    }
    /// The record itself, or null when it is none.
    Record* find(Record* record) const {
        std::lock_guard lock(mutex_);
        return records_.contains(record) ? record : nullptr;
    }

  private:
    mutable std::mutex mutex_;
    std::unordered_set<const Record*> records_;
};

/// Makes an object known for as long as it lives; the first base or member of a record.
template <class Record>
class LiveObject {
  public:
    explicit LiveObject(const Record* record) : record_(record) {
        LiveObjects<Record>::shared().add(record_);
    }
    ~LiveObject() { LiveObjects<Record>::shared().remove(record_); }
    LiveObject(const LiveObject&) = delete;
    LiveObject& operator=(const LiveObject&) = delete;

  private:
    const Record* record_;
};

}  // namespace TWQuickTime
