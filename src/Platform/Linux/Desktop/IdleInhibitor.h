#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// Asks the desktop not to go idle (`org.freedesktop.ScreenSaver.Inhibit`) for as long as it is
/// wanted. Where nobody owns that name nothing happens. Nothing waits for an answer; the desktop
/// ends what was asked for when our connection is gone. Main loop.
class IdleInhibitor final : public QObject {
    Q_OBJECT

public:
    /// `sessionBus` may be unconnected.
    explicit IdleInhibitor(const QDBusConnection& sessionBus);
    /// Wants it no longer.
    ~IdleInhibitor() override;

    /// To want what is wanted already changes nothing.
    void want(bool on);

private:
    void inhibit();
    void inhibitBy(const QString& owner);
    void ask(const QDBusMessage& question, const std::function<void(const QVariant&)>& answered);

    QDBusConnection bus;
    /// Names the current wish: what is granted to an older one is given back at once.
    std::uint64_t wish = 0;
    bool wanted = false;
    /// What gives back what was granted to the current wish.
    std::optional<QDBusMessage> granted;
};

} // namespace vorlin
