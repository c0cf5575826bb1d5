#pragma once

#include "Ports/MainLoop.h"

#include <QObject>

namespace vorlin {

/// The main loop on Qt's event loop. Create it on the main thread, after the Qt application.
class QtMainLoop final : public MainLoop {
public:
    void post(Work work) override;
    TimePoint now() const override;
    void postAfter(Duration delay, Work work) override;

private:
    /// Lives on the main thread; work still queued is dropped with it.
    QObject context;
};

} // namespace vorlin
