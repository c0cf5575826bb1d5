#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

namespace vorlin {

/// Who owns a name on a bus, without ever waiting for the bus. Main loop.
class BusName final : public QObject {
    Q_OBJECT

public:
    /// Asks at once; the answer comes from the loop.
    BusName(const QDBusConnection& bus, const QString& name);

Q_SIGNALS:
    /// The owner's own name on the bus; empty for none, as when the bus is gone.
    void ownerChanged(const QString& owner);

private Q_SLOTS:
    void nameOwnerChanged(const QString& name, const QString& old, const QString& next,
                          const QDBusMessage& message);
    void busGone() { take({}); }

private:
    void ask(const QString& name);
    void take(const QString& next);

    QDBusConnection bus;
    QString owner;
    /// A change was told: what was asked before may be older.
    bool told = false;
};

} // namespace vorlin
