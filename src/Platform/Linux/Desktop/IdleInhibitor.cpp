#include "Platform/Linux/Desktop/IdleInhibitor.h"

#include <QDBusPendingCallWatcher>

#include <limits>
#include <utility>

namespace vorlin {

namespace {

const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString path = QStringLiteral("/org/freedesktop/ScreenSaver");

} // namespace

IdleInhibitor::IdleInhibitor(const QDBusConnection& sessionBus) : bus(sessionBus) {}

IdleInhibitor::~IdleInhibitor()
{
    want(false);
}

void IdleInhibitor::want(bool on)
{
    if (on == std::exchange(wanted, on)) {
        return;
    }
    ++wish;
    if (on && bus.isConnected()) {
        inhibit();
    }
    if (!on && granted) {
        giveBack(*std::exchange(granted, std::nullopt));
    }
}

void IdleInhibitor::inhibit()
{
    auto message =
        QDBusMessage::createMethodCall(screenSaver, path, screenSaver, QStringLiteral("Inhibit"));
    message.setArguments({QStringLiteral("Vorlin"), QStringLiteral("Dictation")});
    message.setAutoStartService(false); // one that nobody runs locks nothing
    // However late it is granted: what is not given back keeps the desktop awake for good.
    constexpr int noLimit = std::numeric_limits<int>::max();
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message, noLimit), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, asked = wish] {
        answer->deleteLater();
        const auto reply = answer->reply();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            return;
        }
        if (asked == wish) {
            granted = reply;
        } else {
            giveBack(reply);
        }
    });
}

/// To whom granted it: another owner of the name would take the number for one of its own.
void IdleInhibitor::giveBack(const QDBusMessage& what)
{
    auto message = QDBusMessage::createMethodCall(what.service(), path, screenSaver,
                                                  QStringLiteral("UnInhibit"));
    message.setArguments({what.arguments().value(0)});
    bus.send(message);
}

} // namespace vorlin
