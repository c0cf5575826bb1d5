#pragma once

#include "Ports/Session.h"

#include <memory>

namespace vorlin {

/// Away while the machine sleeps and while another person's session is in front. That the screen
/// is locked is told by no documented means. Main thread.
class MacSession final : public Session {
public:
    MacSession();
    ~MacSession() override;

private:
    struct Observers;
    void follow();

    bool asleep = false;
    bool behind = false;
    std::unique_ptr<Observers> observers;
};

} // namespace vorlin
