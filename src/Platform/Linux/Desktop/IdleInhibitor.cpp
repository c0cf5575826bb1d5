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
        bus.send(*std::exchange(granted, std::nullopt));
    }
}

void IdleInhibitor::inhibit()
{
    auto question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
    question.setArguments({screenSaver});
    ask(question, [this, asked = wish](const QVariant& owner) {
        if (asked == wish) {
            inhibitBy(owner.toString());
        }
    });
}

/// By the owner of the name itself, which then knows the number: the next one would take it for one
/// of its own.
void IdleInhibitor::inhibitBy(const QString& owner)
{
    auto message =
        QDBusMessage::createMethodCall(owner, path, screenSaver, QStringLiteral("Inhibit"));
    message.setArguments({QStringLiteral("Vorlin"), QStringLiteral("Dictation")});
    ask(message, [this, owner, asked = wish](const QVariant& number) {
        auto ending =
            QDBusMessage::createMethodCall(owner, path, screenSaver, QStringLiteral("UnInhibit"));
        ending.setArguments({number});
        if (asked == wish) {
            granted = ending;
        } else {
            bus.send(ending);
        }
    });
}

/// Calls `answered` when it is; a refusal is dropped.
void IdleInhibitor::ask(const QDBusMessage& question,
                        const std::function<void(const QVariant&)>& answered)
{
    // However late it is granted: what is not given back keeps the desktop awake for good.
    constexpr int noLimit = std::numeric_limits<int>::max();
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question, noLimit), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [answer, answered] {
        answer->deleteLater();
        const auto reply = answer->reply();
        if (reply.type() == QDBusMessage::ReplyMessage) {
            answered(reply.arguments().value(0));
        }
    });
}

} // namespace vorlin
