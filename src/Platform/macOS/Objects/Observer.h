#pragma once

#include "Platform/macOS/Objects/Ref.h"

#include <Foundation/Foundation.h>

#include <functional>
#include <utility>

namespace vorlin {

/// Listens to one notification for as long as it lives, on the thread that posts it.
class Observer {
public:
    Observer() = default;

    /// `object`: nil for whichever.
    Observer(NSNotificationCenter* center, NSNotificationName name, id object,
             std::function<void()> told)
        : center(center), token([center addObserverForName:name
                                                    object:object
                                                     queue:nil
                                                usingBlock:^(NSNotification* /*notification*/) {
                                                  told();
                                                }])
    {
    }

    Observer(Observer&& other) noexcept
        : center(std::move(other.center)), token(std::exchange(other.token, Ref<NSObject>()))
    {
    }

    Observer& operator=(Observer other) noexcept
    {
        std::swap(center, other.center);
        std::swap(token, other.token);
        return *this;
    }

    Observer(const Observer&) = delete;

    ~Observer()
    {
        if (token) {
            [center.get() removeObserver:token.get()];
        }
    }

private:
    Ref<NSNotificationCenter> center;
    Ref<NSObject> token;
};

} // namespace vorlin
