#pragma once

#include "Async/Executor.h"
#include "Async/Lifetime.h"
#include "Platform/Linux/Portal/BusName.h"
#include "Ports/Workers.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// Our connection to the bus on which programs describe their windows to those who read them out,
/// for as long as the person has that switched on (org.a11y.Status.IsEnabled). One that ends is
/// left, and asked for anew. Switches nothing on, and starts nobody: where no program has the name
/// org.a11y.Bus, nobody is asked. Main loop; waits for nothing.
class AccessibilityBus final : public QObject {
    Q_OBJECT

public:
    /// `workers` and `loop` must outlive this object.
    AccessibilityBus(const QDBusConnection& session, Workers& workers, Executor& loop);
    ~AccessibilityBus() override;

    /// Nothing while it is switched off, or its bus does not answer.
    const std::optional<QDBusConnection>& get() const { return connection; }

private Q_SLOTS:
    void propertiesChanged(const QString& interface, const QVariantMap& values,
                           const QStringList& invalid, const QDBusMessage& message);
    void disconnected();

private:
    void follow(const QString& next);
    void askWhetherOn();
    void take(bool isOn);
    void open(const QString& address);
    void leave();
    /// Asks anew where the bus is, unless something was told meanwhile.
    void returnLater();
    /// Asks the owner of the name; an answer that is older than what it has told since is dropped.
    void ask(const QString& interface, const QString& method, const QVariantList& arguments,
             std::function<void(const QVariant&)> answered);

    QDBusConnection session;
    Workers& workers;
    Executor& loop;
    BusName name;
    QString owner;
    /// Of what was last told.
    std::uint64_t generation = 0;
    std::optional<QDBusConnection> connection;
    Lifetime lifetime;
};

} // namespace vorlin
