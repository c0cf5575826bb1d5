#pragma once

#include "Ports/Defaults.h"

#include <memory>
#include <vector>

namespace vorlin {

/// The user defaults: the program's own, or a suite of them. What another program changes in them
/// is seen by the next read, but no observer is told of it.
class MacDefaults final : public Defaults {
public:
    /// The program's own.
    MacDefaults();
    /// Those of the suite with this name.
    explicit MacDefaults(const std::string& suite);
    MacDefaults(const MacDefaults&) = delete;
    MacDefaults& operator=(const MacDefaults&) = delete;
    /// Returns once the system has all that was set.
    ~MacDefaults() override;

    /// A store without anything in it is none to the platform: a mark is left in one that is made.
    bool create() override;
    std::optional<DefaultsValue> value(const std::string& key) const override;
    void set(const std::string& key, std::optional<DefaultsValue> value) override;
    [[nodiscard]] std::shared_ptr<const void>
    observe(std::function<void(const std::string& key)> observer) override;

private:
    using Observe = std::function<void(const std::string& key)>;
    struct Store;
    std::unique_ptr<Store> store;
    std::vector<std::weak_ptr<const Observe>> observers;
};

} // namespace vorlin
