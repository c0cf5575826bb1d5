#pragma once

#include <functional>
#include <memory>

namespace vorlin {

/// How the person has set up the system's look. Main thread; create it after the Qt application.
class MacAppearance {
public:
    bool isDark() const;
    bool hasReducedMotion() const;

    /// Calls `observer` when an answer may have changed, for as long as the result is kept.
    [[nodiscard]] std::shared_ptr<const void> observe(std::function<void()> observer);
};

} // namespace vorlin
