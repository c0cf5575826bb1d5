#pragma once

#include "Async/MainLoop.h"
#include "Ports/LocalKeyMonitor.h"

#include <memory>

namespace vorlin {

/// The keys that go to this program's own windows, before the windows see them.
class MacLocalKeyMonitor final : public LocalKeyMonitor {
public:
    /// `loop` must outlive this object.
    explicit MacLocalKeyMonitor(MainLoop& loop);
    MacLocalKeyMonitor(const MacLocalKeyMonitor&) = delete;
    MacLocalKeyMonitor& operator=(const MacLocalKeyMonitor&) = delete;
    ~MacLocalKeyMonitor() override;

    /// `onEnd` also comes when this program loses the focus: then it sees no keys.
    std::optional<std::string> start(Handler handler, std::function<void()> onEnd) override;
    void stop() override;

private:
    struct Monitoring;
    void endSoon();

    MainLoop& loop;
    std::unique_ptr<Monitoring> monitoring;
};

} // namespace vorlin
