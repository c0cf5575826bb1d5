#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Linux/Desktop/IdleInhibitor.h"
#include "Platform/Linux/Environment.h"
#include "Ports/Session.h"
#include "Ports/Workers.h"

#include <QDBusConnection>
#include <QString>

#include <memory>
#include <vector>

namespace vorlin {

class AwayService;

/// Away while a screen saver of the desktop or logind says that the screen is locked, and while the
/// machine sleeps. One of them whose service goes away counts as unlocked. A bus that is not there,
/// or does not answer, changes nothing and is not waited for. Main loop.
class SessionLock final : public Session {
public:
    /// `sessionBus` may be unconnected; the system's bus is opened by a worker. `workers` and
    /// `loop` must outlive this object.
    SessionLock(const QDBusConnection& sessionBus, const Environment& environment, Workers& workers,
                MainLoop& loop);
    ~SessionLock() override;

    void keepAwake(bool on) override { idle.want(on); }

private:
    void follow(std::unique_ptr<AwayService> service);

    IdleInhibitor idle;
    std::vector<std::unique_ptr<AwayService>> services;
    /// The name of our connection to it; empty before there is one.
    QString systemBus;
    Lifetime lifetime;
};

} // namespace vorlin
