#include "Platform/Linux/Tray/StatusNotifier.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace vorlin {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
constexpr int secondTryMs = 1500;

} // namespace

/// org.kde.StatusNotifierItem; the names of its members are the interface's.
class StatusNotifierInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowId CONSTANT)
    Q_PROPERTY(QString IconName READ noName CONSTANT)
    Q_PROPERTY(vorlin::TrayPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ noName CONSTANT)
    Q_PROPERTY(vorlin::TrayPixmaps OverlayIconPixmap READ noPixmap CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noName CONSTANT)
    Q_PROPERTY(vorlin::TrayPixmaps AttentionIconPixmap READ noPixmap CONSTANT)
    Q_PROPERTY(QString AttentionMovieName READ noName CONSTANT)
    Q_PROPERTY(vorlin::TrayToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    explicit StatusNotifierInterface(StatusNotifier& item)
        : QDBusAbstractAdaptor(&item.object), item(item)
    {
    }

    static QString category() { return "ApplicationStatus"; }
    static QString id() { return "vorlin"; }
    QString title() const { return QString::fromStdString(item.content.title); }
    static QString status() { return "Active"; }
    static int windowId() { return 0; }
    static QString noName() { return {}; }
    static TrayPixmaps noPixmap() { return {}; }
    TrayPixmaps iconPixmap() const { return trayPixmaps(item.content.symbol); }
    TrayToolTip toolTip() const { return {{}, {}, title(), {}}; }
    static bool itemIsMenu() { return false; }
    static QDBusObjectPath menu() { return QDBusObjectPath(BusMenu::path); }

public Q_SLOTS:
    // NOLINTBEGIN(readability-identifier-naming)
    void Activate(int /*x*/, int /*y*/)
    {
        // From the loop: the panel has its answer before anything follows from the click.
        QMetaObject::invokeMethod(
            this, [this] { item.callbacks.activated(); }, Qt::QueuedConnection);
    }
    void SecondaryActivate(int x, int y) { Activate(x, y); }
    static void ContextMenu(int /*x*/, int /*y*/) {}
    static void Scroll(int /*delta*/, const QString& /*orientation*/) {}
    // NOLINTEND(readability-identifier-naming)

Q_SIGNALS:
    // NOLINTBEGIN(readability-identifier-naming)
    void NewTitle();
    void NewIcon();
    void NewToolTip();
    // NOLINTEND(readability-identifier-naming)

private:
    StatusNotifier& item;
};

StatusNotifier::StatusNotifier(Callbacks given)
    : callbacks(std::move(given)), menu([this](const std::string& id) { callbacks.chosen(id); }),
      interface(new StatusNotifierInterface(*this)) // `object` owns it
{
    secondTry.setSingleShot(true);
    secondTry.setInterval(secondTryMs);
    connect(&secondTry, &QTimer::timeout, this, [this] { registerItem(true); });
}

StatusNotifier::~StatusNotifier()
{
    auto bus = QDBusConnection::sessionBus();
    if (isIntroduced && bus.isConnected()) {
        bus.unregisterObject(path);
        bus.unregisterObject(BusMenu::path);
    }
}

void StatusNotifier::show(const StatusContent& next)
{
    const auto before = std::exchange(content, next);
    menu.show(content.menu);
    if (!isIntroduced) {
        introduce();
        return;
    }
    if (before.symbol != content.symbol) {
        Q_EMIT interface->NewIcon();
    }
    if (before.title != content.title) {
        Q_EMIT interface->NewTitle();
        Q_EMIT interface->NewToolTip();
    }
}

/// Tells the watcher of this desktop, now and whenever there is another one.
void StatusNotifier::introduce()
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    if (!isIntroduced) {
        isIntroduced = true;
        bus.registerObject(path, &object);
        bus.registerObject(BusMenu::path, &menu.busObject());
        watch.setConnection(bus);
        watch.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        watch.addWatchedService(watcherService);
        connect(&watch, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) {
                    note(false, false);
                    if (!owner.isEmpty()) {
                        introduce();
                    }
                });
        for (const char* name :
             {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
            bus.connect(watcherService, watcherPath, watcherService, name, this,
                        SLOT(askForHost()));
        }
    }
    registerItem(false);
}

/// `again`: the watcher has refused once. It may have taken its name before it was ready.
void StatusNotifier::registerItem(bool again)
{
    const auto bus = QDBusConnection::sessionBus();
    secondTry.stop();
    auto message = QDBusMessage::createMethodCall(watcherService, watcherPath, watcherService,
                                                  "RegisterStatusNotifierItem");
    message << bus.baseService();
    message.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, again, mine = ++introduction](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                if (mine != introduction) {
                    return;
                }
                if (!done->isError()) {
                    isRegistered = true;
                    askForHost();
                } else if (!again && done->error().type() != QDBusError::ServiceUnknown) {
                    secondTry.start();
                }
            });
}

/// A watcher alone shows nothing.
void StatusNotifier::askForHost()
{
    auto message = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                  "org.freedesktop.DBus.Properties", "Get");
    message << watcherService << "IsStatusNotifierHostRegistered";
    message.setAutoStartService(false);
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, mine = introduction](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const QDBusPendingReply<QDBusVariant> reply = *done;
                if (mine == introduction && isRegistered) {
                    note(true, reply.isError() || reply.value().variant().toBool());
                }
            });
}

void StatusNotifier::note(bool registered, bool host)
{
    const bool before = isShown();
    isRegistered = registered;
    hasHost = host;
    if (isShown() != before) {
        callbacks.changed();
    }
}

} // namespace vorlin

#include "StatusNotifier.moc"
