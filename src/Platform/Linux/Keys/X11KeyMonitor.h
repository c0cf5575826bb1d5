#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Ports/LocalKeyMonitor.h"

#include <memory>

#include <QObject>

namespace vorlin {

/// The whole keyboard of an X11 desktop for a while, window manager's shortcuts included. The
/// keyboard is grabbed for the window that has the focus, which keeps it.
class X11KeyMonitor final : public LocalKeyMonitor {
public:
    /// A screen locker cannot lock while the keyboard is grabbed.
    static constexpr auto limit = std::chrono::seconds(30);

    /// `keyboard` and `loop` must outlive this object.
    X11KeyMonitor(X11Keyboard& keyboard, MainLoop& loop);
    X11KeyMonitor(const X11KeyMonitor&) = delete;
    X11KeyMonitor& operator=(const X11KeyMonitor&) = delete;
    ~X11KeyMonitor() override;

    std::optional<std::string> start(Handler handler, std::function<void()> onEnd) override;
    void stop() override;

private:
    struct Session;

    bool grab(Session& session);
    void takeChanges();
    void tell(Session& session, const KeyChange& change);
    std::uint64_t flagsAt(Session& session, const KeyChange& change);
    void readGrab();
    void endByItself();
    void letGo();

    X11Keyboard& keyboard;
    MainLoop& loop;
    std::shared_ptr<Session> session;
    QObject context;
};

} // namespace vorlin
