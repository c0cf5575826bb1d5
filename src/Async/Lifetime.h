#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace vorlin {

/// Lets callbacks hold their owner weakly. A class keeps a `Lifetime` as its last member and
/// wraps each callback it gives away; a wrapped callback does nothing once the owner is gone.
///
/// Its tasks are spawned with its `token`.
///
/// The owner must be destroyed on the thread that runs its callbacks and tasks (the main loop):
/// the check and the call are then one step.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    /// Expires with the owner.
    std::weak_ptr<const void> token() const { return alive; }

    /// `callback`, made a no-op once the owner is gone. `callback` must return nothing, and not
    /// change what it captured.
    template <class Callback>
    auto guard(Callback callback) const
    {
        return [token = token(), callback = std::move(callback)](auto&&... arguments) {
            if (!token.expired()) {
                callback(std::forward<decltype(arguments)>(arguments)...);
            }
        };
    }

private:
    std::shared_ptr<const void> alive = std::make_shared<char>();
};

} // namespace vorlin
