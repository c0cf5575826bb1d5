#include "Platform/Linux/Workspace/FolderPortal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QUrl>
#include <QWindow>

#include <utility>

namespace vorlin {

namespace {

const QString chooser = QStringLiteral("org.freedesktop.portal.FileChooser");
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

FolderPortal::Answer chosen(const PortalAnswer& answer)
{
    const auto uris = answer.results.value("uris").toStringList();
    if (answer.end == PortalAnswer::End::refused || answer.end == PortalAnswer::End::failed) {
        return FolderPortal::Missing{};
    }
    if (!answer.succeeded() || uris.isEmpty()) {
        return FolderPortal::Chosen();
    }
    const auto path = QUrl(uris.front()).toLocalFile().toStdString();
    if (path.empty()) {
        return FolderPortal::Unusable{"This folder is not on this computer."};
    }
    return FolderPortal::Chosen(path);
}

} // namespace

FolderPortal::FolderPortal() : request(bus()) {}

void FolderPortal::choose(const std::string& title, const std::string& prompt,
                          std::function<void(Answer)> next)
{
    cancel();
    whenDone = std::move(next);
    const Question question{focusedWindow(), QString::fromStdString(title),
                            QString::fromStdString(prompt)};
    auto message = QDBusMessage::createMethodCall(portals::service, portals::path,
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
    request.send(chooser, "OpenFile", {question.parent, question.title},
                 {{"accept_label", question.prompt}, {"directory", true}, {"modal", true}},
                 [this](const PortalAnswer& answer) { finish(chosen(answer)); });
}

void FolderPortal::cancel()
{
    whenDone = nullptr;
    request.close();
    ++generation;
}

void FolderPortal::finish(const Answer& answer)
{
    ++generation;
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(answer);
    }
}

} // namespace vorlin
