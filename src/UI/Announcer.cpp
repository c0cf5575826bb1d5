#include "UI/Announcer.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QGuiApplication>

namespace vorlin {

namespace {

constexpr std::size_t kept = 8;

/// An announcement as a screen reader sees it.
class Notification final : public QAccessibleObject {
public:
    explicit Notification(Announcement& announcement) : QAccessibleObject(&announcement) {}

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
        return kind == QAccessible::Name ? static_cast<Announcement*>(object())->text : QString();
    }
};

QAccessibleInterface* notificationFor(const QString& className, QObject* object)
{
    if (className != QLatin1String(Announcement::staticMetaObject.className())) {
        return nullptr;
    }
    return new Notification(*static_cast<Announcement*>(object)); // Qt's registry owns it
}

} // namespace

Announcer::Announcer()
{
    // Once for all announcers, and for good: another may live longer.
    QAccessible::installFactory(notificationFor);
}

void Announcer::announce(const QString& text)
{
    if (text.isEmpty()) {
        return;
    }
    latest.push_back(std::make_unique<Announcement>(text));
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    // What every screen reader hears; VoiceOver knows nothing of notifications that are shown.
    QAccessibleAnnouncementEvent event(latest.back().get(), text);
#else
    QAccessibleEvent event(latest.back().get(), QAccessible::ObjectShow);
#endif
    QAccessible::updateAccessibility(&event);
    if (latest.size() > kept) {
        latest.pop_front();
    }
}

} // namespace vorlin
