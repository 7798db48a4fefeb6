#include "NSNotificationCenter.h"

#include <atomic>

#include "NSRunLoop.h"
#include "Private/SharedOwnership.h"

namespace TWQuickTime {

struct NSNotificationCenter::Registration {
    bool isFor(const NSNotification& notification) const {
        return (name.isNil() || name == notification.name()) &&
               (isForEveryObject || isSameObject(object, notification.object()));
    }

    std::weak_ptr<void> observer;
    Handler handler;
    NSString name;
    std::weak_ptr<void> object;
    bool isForEveryObject = true;
    /// An observer that another one removes is not told any more.
    std::atomic<bool> isRemoved = false;
};

NSNotificationCenter::NSNotificationCenter() = default;
NSNotificationCenter::~NSNotificationCenter() = default;

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
    // Never destroyed: objects that outlive main() still unregister.
    static NSNotificationCenter& center = *new NSNotificationCenter;
    return center;
}

void NSNotificationCenter::addObserver(const std::shared_ptr<void>& observer, Handler handler,
                                       const NSString& name, const std::shared_ptr<void>& object) {
    if (!observer || !handler)
        return;
    auto registration = std::make_shared<Registration>();
    registration->observer = observer;
    registration->handler = std::move(handler);
    registration->name = name;
    registration->object = object;
    registration->isForEveryObject = object == nullptr;
    std::lock_guard lock(mutex_);
    std::erase_if(registrations_, [](const auto& old) { return old->observer.expired(); });
    registrations_.push_back(std::move(registration));
}

template <class Condition>
void NSNotificationCenter::removeWhere(Condition condition) {
    // Handlers are destroyed after the lock is free: they may hold what unregisters itself.
    std::vector<std::shared_ptr<Registration>> removed;
    std::lock_guard lock(mutex_);
    std::erase_if(registrations_, [&](std::shared_ptr<Registration>& registration) {
        if (!condition(*registration))
            return false;
        registration->isRemoved = true;
        removed.push_back(registration);
        return true;
    });
}

void NSNotificationCenter::removeObserver(const std::weak_ptr<void>& observer) {
    removeWhere([&](const Registration& registration) {
        return isSameObject(registration.observer, observer);
    });
}

void NSNotificationCenter::removeObserver(const std::weak_ptr<void>& observer, const NSString& name,
                                          const std::shared_ptr<void>& object) {
    removeWhere([&](const Registration& registration) {
        return isSameObject(registration.observer, observer) &&
               (name.isNil() || registration.name == name) &&
               (!object || isSameObject(registration.object, object));
    });
}

void NSNotificationCenter::postNotificationName(const NSString& name,
                                                const std::shared_ptr<void>& object,
                                                const NSDictionary& userInfo,
                                                const std::shared_ptr<NSRunLoop>& onRunLoop) {
    if (!onRunLoop || onRunLoop->isOnItsThread()) {
        deliver(NSNotification(name, object, userInfo));
        return;
    }
    onRunLoop->performBlock([this, name, weakObject = std::weak_ptr<void>(object), userInfo,
                             speaksOfNothing = object == nullptr] {
        const std::shared_ptr<void> living = weakObject.lock();
        if (living || speaksOfNothing)
            deliver(NSNotification(name, living, userInfo));
    });
}

void NSNotificationCenter::deliver(const NSNotification& notification) {
    std::vector<std::shared_ptr<Registration>> told;
    {
        std::lock_guard lock(mutex_);
        for (const auto& registration : registrations_) {
            if (registration->isFor(notification))
                told.push_back(registration);
        }
    }
    for (const auto& registration : told) {
        const std::shared_ptr<void> observer = registration->observer.lock();
        if (observer && !registration->isRemoved)
            registration->handler(notification);
    }
}

}  // namespace TWQuickTime
