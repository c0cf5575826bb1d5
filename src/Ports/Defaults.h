#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vorlin {

using Bytes = std::vector<std::uint8_t>;

/// A stored setting. A whole number reads as a `double`; a boolean never does.
using DefaultsValue = std::variant<bool, double, std::string, Bytes>;

/// The person's settings: a persistent store by key. Main loop.
class Defaults {
public:
    virtual ~Defaults() = default;

    /// Makes the store, empty, where there was none when the program started. Returns whether it
    /// did: then this is the very first start. False where no store can be made.
    virtual bool create() = 0;

    /// What is stored under `key`; nothing when absent or of no known type.
    virtual std::optional<DefaultsValue> value(const std::string& key) const = 0;

    /// Stores `value` under `key`, or removes the key when given nothing. Every later read sees
    /// it; it is on disk before the program ends.
    virtual void set(const std::string& key, std::optional<DefaultsValue> value) = 0;

    /// Calls `observer` with the key after each change, by this program or from outside, for as
    /// long as the result is kept.
    [[nodiscard]] virtual std::shared_ptr<const void>
    observe(std::function<void(const std::string& key)> observer) = 0;
};

} // namespace vorlin
