// Tells observers what happened to an object, without the object knowing them.
//
//     auto& centre = NSNotificationCenter::defaultCenter();
//     centre.addObserver(player, &Player::TW_didChangeRate, QTMovieRateDidChangeNotification,
//     movie); … centre.postNotificationName(QTMovieRateDidChangeNotification, movie);
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class NSRunLoop;

class TWQT_EXPORT NSNotification {
  public:
    NSNotification(NSString name, std::shared_ptr<void> object, NSDictionary userInfo = nullptr)
        : name_(std::move(name)), object_(std::move(object)), userInfo_(std::move(userInfo)) {}

    const NSString& name() const noexcept { return name_; }
    /// Of what the notification speaks; null for nothing in particular.
    const std::shared_ptr<void>& object() const noexcept { return object_; }
    const NSDictionary& userInfo() const noexcept { return userInfo_; }

  private:
    NSString name_;
    std::shared_ptr<void> object_;
    NSDictionary userInfo_;
};

/// Every call may be made on any thread.
class TWQT_EXPORT NSNotificationCenter {
  public:
    using Handler = std::function<void(const NSNotification&)>;

    NSNotificationCenter();
    ~NSNotificationCenter();
    NSNotificationCenter(const NSNotificationCenter&) = delete;
    NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;

    static NSNotificationCenter& defaultCenter();

    /// The observer is not kept alive, and is told nothing once it has gone; it is kept alive while
    /// its method runs.       (addObserver:selector:name:object:)
    /// @param name    nil for notifications of every name
    /// @param object  null for notifications of every object
    template <class Observer, class Class>
    void addObserver(const std::shared_ptr<Observer>& observer,
                     void (Class::*method)(const NSNotification&), const NSString& name,
                     const std::shared_ptr<void>& object) {
        // The centre holds the observer while it calls the handler.
        addObserver(std::shared_ptr<void>(observer),
                    Handler([method, target = observer.get()](const NSNotification& notification) {
                        (target->*method)(notification);
                    }),
                    name, object);
    }
    void addObserver(const std::shared_ptr<void>& observer, Handler handler, const NSString& name,
                     const std::shared_ptr<void>& object);

    /// Works in the observer's destructor too (by weak_from_this()).
    /// (removeObserver:, removeObserver:name:object:)
    void removeObserver(const std::weak_ptr<void>& observer);
    void removeObserver(const std::weak_ptr<void>& observer, const NSString& name,
                        const std::shared_ptr<void>& object);

    /// Tells the observers in the order in which they were added. Returns when all have been told,
    /// unless the object's run loop is another thread's: then they are told there, in its next
    /// pass, and nobody is told once the object has gone. (postNotificationName:object:userInfo:)
    /// @param onRunLoop  the run loop of the object's thread; null for the calling thread
    void postNotificationName(const NSString& name, const std::shared_ptr<void>& object,
                              const NSDictionary& userInfo = nullptr,
                              const std::shared_ptr<NSRunLoop>& onRunLoop = nullptr);

  private:
    struct Registration;
    void deliver(const NSNotification& notification);
    template <class Condition>
    void removeWhere(Condition condition);

    std::mutex mutex_;
    std::vector<std::shared_ptr<Registration>> registrations_;
};

}  // namespace TWQuickTime
