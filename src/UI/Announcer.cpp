#include "UI/Announcer.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QGuiApplication>

namespace vorlin {

namespace {

/// The announcer as a screen reader sees it.
class Notification final : public QAccessibleObject {
public:
    explicit Notification(Announcer& announcer) : QAccessibleObject(&announcer) {}

    QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(qApp);
    }
    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? static_cast<Announcer*>(object())->text() : QString();
    }
};

QAccessibleInterface* notificationFor(const QString& className, QObject* object)
{
    if (className != QLatin1String(Announcer::staticMetaObject.className())) {
        return nullptr;
    }
    return new Notification(*static_cast<Announcer*>(object)); // Qt's registry owns it
}

} // namespace

Announcer::Announcer()
{
    QAccessible::installFactory(notificationFor);
}

Announcer::~Announcer()
{
    QAccessible::removeFactory(notificationFor);
}

void Announcer::announce(const QString& text)
{
    announced = text;
    if (text.isEmpty() || !QAccessible::isActive()) {
        return;
    }
    QAccessibleEvent named(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&named);
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
    QAccessibleEvent hidden(this, QAccessible::ObjectHide);
    QAccessible::updateAccessibility(&hidden);
}

} // namespace vorlin
