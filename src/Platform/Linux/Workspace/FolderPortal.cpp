#include "Platform/Linux/Workspace/FolderPortal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QUrl>
#include <QWindow>

#include <utility>

namespace vorlin {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString chooser = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
/// The first that lets a person choose a folder.
constexpr uint neededVersion = 3;

QDBusConnection bus()
{
    return QDBusConnection::sessionBus();
}

/// As the portal names a window of an X11 display; empty for none.
QString focusedWindow()
{
    const auto* window = QGuiApplication::focusWindow();
    return window == nullptr ? QString() : "x11:" + QString::number(window->winId(), 16);
}

} // namespace

FolderPortal::FolderPortal()
{
    connect(&watch, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        finish(Chosen()); // it took the dialog along
    });
}

void FolderPortal::choose(const std::string& title, const std::string& prompt,
                          std::function<void(Answer)> next)
{
    cancel();
    whenDone = std::move(next);
    const Question question{focusedWindow(), QString::fromStdString(title),
                            QString::fromStdString(prompt)};
    auto message = QDBusMessage::createMethodCall(service, portalPath,
                                                  "org.freedesktop.DBus.Properties", "Get");
    message << chooser << "version";
    auto* answer = new QDBusPendingCallWatcher(bus().asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, question, mine = generation](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const QDBusPendingReply<QDBusVariant> reply = *done;
                if (mine != generation) {
                    return;
                }
                if (reply.isError() || reply.value().variant().toUInt() < neededVersion) {
                    finish(Missing{});
                } else {
                    open(question);
                }
            });
}

void FolderPortal::open(const Question& question)
{
    const auto token = "vorlin" + QString::number(generation);
    auto sender = bus().baseService().mid(1);
    sender.replace('.', '_');
    // Ahead of the call: the answer may come before its reply.
    follow(portalPath + "/request/" + sender + "/" + token);
    watch.setConnection(bus());
    watch.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    watch.setWatchedServices({service});
    auto message = QDBusMessage::createMethodCall(service, portalPath, chooser, "OpenFile");
    message << question.parent << question.title
            << QVariantMap{{"handle_token", token},
                           {"accept_label", question.prompt},
                           {"directory", true},
                           {"modal", true}};
    auto* answer = new QDBusPendingCallWatcher(bus().asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, mine = generation](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const QDBusPendingReply<QDBusObjectPath> reply = *done;
                if (mine != generation) {
                    return;
                }
                if (reply.isError()) {
                    finish(Missing{});
                } else {
                    follow(reply.value().path());
                }
            });
}

void FolderPortal::follow(const QString& path)
{
    if (path == request) {
        return;
    }
    const auto connectTo = [this](const QString& which, bool connected) {
        if (which.isEmpty()) {
            return;
        }
        if (connected) {
            bus().connect(service, which, requestInterface, "Response", this,
                          SLOT(responded(uint, QVariantMap)));
        } else {
            bus().disconnect(service, which, requestInterface, "Response", this,
                             SLOT(responded(uint, QVariantMap)));
        }
    };
    connectTo(std::exchange(request, path), false);
    connectTo(request, true);
}

void FolderPortal::responded(uint response, const QVariantMap& results)
{
    const auto uris = results.value("uris").toStringList();
    if (response != 0 || uris.isEmpty()) {
        finish(Chosen());
        return;
    }
    const auto path = QUrl(uris.front()).toLocalFile().toStdString();
    if (path.empty()) {
        finish(Unusable{"This folder is not on this computer."});
    } else {
        finish(Chosen(path));
    }
}

void FolderPortal::cancel()
{
    whenDone = nullptr;
    if (!request.isEmpty()) {
        auto message = QDBusMessage::createMethodCall(service, request, requestInterface, "Close");
        message.setAutoStartService(false);
        bus().asyncCall(message);
    }
    finish(Chosen());
}

void FolderPortal::finish(const Answer& answer)
{
    ++generation;
    follow({});
    watch.setWatchedServices({});
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(answer);
    }
}

} // namespace vorlin
