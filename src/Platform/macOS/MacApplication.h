#pragma once

#include "Ports/Application.h"

#include <memory>

namespace vorlin {

/// The program among the others: one instance for each person, which one that is started later
/// tells of itself, as does whoever opens the running program once more. Main thread; create it
/// after the Qt application.
class MacApplication final : public Application {
public:
    MacApplication();
    MacApplication(const MacApplication&) = delete;
    MacApplication& operator=(const MacApplication&) = delete;
    ~MacApplication() override;

    bool becomeOnlyInstance(std::function<void()> onActivate) override;
    void quit() override;

    /// Makes it the program that has the focus.
    void activate();

private:
    struct Instance;
    std::unique_ptr<Instance> instance;
};

} // namespace vorlin
