#include "Platform/Linux/Portal/PortalStrokes.h"

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusObjectPath>
#include <QVariantMap>

#include <ranges>
#include <utility>

namespace vorlin {

namespace {

/// For one key, in ms. It is over when that has passed: a portal that hangs presses none.
constexpr int limit = 1000;
/// For one that is let go while everything waits, in ms.
constexpr int limitAtEnd = 200;
/// How often a release is sent that does not arrive: what stays down spoils every key.
constexpr int mostReleases = 3;

} // namespace

PortalStrokes::PortalStrokes(const QDBusConnection& bus, const HostRegistry& registry,
                             Callbacks callbacks)
    : bus(bus), registry(registry), callbacks(std::move(callbacks))
{
}

void PortalStrokes::send(const QString& to, const std::vector<PortalStroke>& strokes)
{
    session = to;
    waiting.insert(waiting.end(), strokes.begin(), strokes.end());
    if (!sending) {
        sendNext();
    }
}

void PortalStrokes::sendNext()
{
    if (waiting.empty()) {
        callbacks.sent();
        return;
    }
    const auto stroke = waiting.front();
    waiting.pop_front();
    if (stroke.down) {
        down.push_back(stroke);
    }
    if (stroke.acts) {
        callbacks.acts();
    }
    sending = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(message(stroke), limit));
    connect(sending.get(), &QDBusPendingCallWatcher::finished, this,
            [this, stroke](QDBusPendingCallWatcher* answered) {
                sending.release()->deleteLater();
                sent(stroke, !answered->isError());
            });
}

void PortalStrokes::sent(const PortalStroke& stroke, bool arrived)
{
    if (stroke.down && !arrived) {
        waiting = releases();
    } else if (!stroke.down && !arrived && ++failures < mostReleases) {
        waiting.push_front(stroke);
    } else if (!stroke.down) {
        failures = 0;
        noteUp(stroke);
    }
    sendNext();
}

void PortalStrokes::noteUp(const PortalStroke& stroke)
{
    std::erase_if(down, [&](const PortalStroke& each) {
        return each.isSymbol == stroke.isSymbol && each.key == stroke.key;
    });
}

std::deque<PortalStroke> PortalStrokes::releases() const
{
    std::deque<PortalStroke> strokes;
    for (auto each : down | std::views::reverse) {
        each.down = false;
        each.acts = false;
        strokes.push_back(each);
    }
    return strokes;
}

void PortalStrokes::letGo()
{
    waiting.clear();
    if (sending) {
        sending->disconnect(this); // else the wait itself sends what comes next
        sending->waitForFinished();
    }
    for (const auto& each : releases()) {
        bus.call(message(each), QDBus::Block, limitAtEnd);
    }
    forget();
}

void PortalStrokes::forget()
{
    waiting.clear();
    sending.reset();
    down.clear();
    failures = 0;
}

QDBusMessage PortalStrokes::message(const PortalStroke& stroke) const
{
    auto call =
        QDBusMessage::createMethodCall(registry.portal(), portals::path, portals::remoteDesktop,
                                       stroke.isSymbol ? QStringLiteral("NotifyKeyboardKeysym")
                                                       : QStringLiteral("NotifyKeyboardKeycode"));
    call.setAutoStartService(false);
    call << QVariant::fromValue(QDBusObjectPath(session)) << QVariantMap()
         << static_cast<int>(stroke.key) << (stroke.down ? 1U : 0U);
    return call;
}

} // namespace vorlin
