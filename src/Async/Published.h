#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vorlin {

/// Keeps an observer registered; the observer is removed when the subscription is destroyed.
using Subscription = std::shared_ptr<const void>;

/// A value with observers, which only `Writer` may set. Not synchronised: all that reads, observes
/// or sets it is on its owner's thread, which for the core is the main loop.
///
/// Writing the value already held notifies nobody. An observer may write other values, add and
/// remove observers and destroy its own subscription; it is called after the value has changed.
template <class T, class Writer>
class Published {
    friend Writer;

public:
    using Observer = std::function<void(const T&)>;

    explicit Published(T initial = {}) : value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& get() const { return value; }

    /// Calls `observer` after every change from now on, for as long as the result is kept.
    [[nodiscard]] Subscription observe(Observer observer) const
    {
        auto entry = std::make_shared<const Observer>(std::move(observer));
        std::erase_if(observers, [](const auto& each) { return each.expired(); });
        observers.push_back(entry);
        return entry;
    }

private:
    void set(T next)
    {
        if (next == value) {
            return;
        }
        value = std::move(next);
        const auto current = observers; // an observer may add or remove observers
        for (const auto& weak : current) {
            if (const auto observer = weak.lock()) {
                (*observer)(value);
            }
        }
    }

    T value;
    mutable std::vector<std::weak_ptr<const Observer>> observers;
};

} // namespace vorlin
