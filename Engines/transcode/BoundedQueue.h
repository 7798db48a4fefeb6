// A queue between two threads that holds only so many items.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

namespace TWQuickTime::transcode {

template <class Item>
class BoundedQueue {
  public:
    explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

    /// Waits for room. False when the queue was stopped: nobody wants the item any more.
    bool push(Item item) {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] { return stopped_ || items_.size() < capacity_; });
        if (stopped_) {
            return false;
        }
        items_.push_back(std::move(item));
        filled_.notify_one();
        return true;
    }

    /// Waits for an item. None when the queue was closed and is empty, or was stopped.
    std::optional<Item> pop() {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [&] { return stopped_ || closed_ || !items_.empty(); });
        if (stopped_ || items_.empty()) {
            return std::nullopt;
        }
        std::optional<Item> item(std::move(items_.front()));
        items_.pop_front();
        room_.notify_one();
        return item;
    }

    /// No more items will come.
    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        filled_.notify_all();
    }

    /// Nobody waits any more, on either side.
    void stop() {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        filled_.notify_all();
        room_.notify_all();
    }

  private:
    const std::size_t capacity_;
    std::mutex mutex_;
    std::condition_variable room_;
    std::condition_variable filled_;
    std::deque<Item> items_;
    bool closed_ = false;
    bool stopped_ = false;
};

}  // namespace TWQuickTime::transcode
