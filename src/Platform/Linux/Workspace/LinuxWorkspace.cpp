#include "Platform/Linux/Workspace/LinuxWorkspace.h"

#include "Platform/Linux/Workspace/SystemPanels.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QUrl>

#include <utility>

namespace vorlin {

namespace {

/// The file manager may have to start first.
constexpr int revealTimeoutMs = 10000;

QString textOf(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

Completion<Done> failed(const std::string& line)
{
    Completion<Done> result;
    result.completer().failWith(line);
    return result;
}

Completion<Done> started(const QString& program, const QStringList& arguments)
{
    if (!QProcess::startDetached(program, arguments)) {
        return failed("“" + program.toStdString() + "” cannot be started.");
    }
    Completion<Done> result;
    result.completer().complete({});
    return result;
}

} // namespace

LinuxWorkspace::~LinuxWorkspace() = default;

Completion<Done> LinuxWorkspace::openWithProgram(const QString& what) const
{
    const auto program = findProgram(environment, "xdg-open");
    return program ? started(*program, {what})
                   : failed("Nothing here opens it: “xdg-open” is not installed.");
}

Completion<Done> LinuxWorkspace::open(const std::filesystem::path& folder)
{
    return openWithProgram(textOf(folder));
}

Completion<Done> LinuxWorkspace::reveal(const std::filesystem::path& item)
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return openWithProgram(textOf(item.parent_path()));
    }
    auto message = QDBusMessage::createMethodCall("org.freedesktop.FileManager1",
                                                  "/org/freedesktop/FileManager1",
                                                  "org.freedesktop.FileManager1", "ShowItems");
    message << QStringList{QUrl::fromLocalFile(textOf(item)).toString(QUrl::FullyEncoded)}
            << QString();
    Completion<Done> result;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message, revealTimeoutMs), &context);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context,
                     [this, folder = item.parent_path(),
                      completer = result.completer()](QDBusPendingCallWatcher* done) {
                         done->deleteLater();
                         const auto program = findProgram(environment, "xdg-open");
                         if (!done->isError()) {
                             completer.complete({});
                         } else if (program &&
                                    QProcess::startDetached(*program, {textOf(folder)})) {
                             completer.complete({});
                         } else {
                             completer.failWith("No file manager was found.");
                         }
                     });
    return result;
}

Completion<Done> LinuxWorkspace::openLink(const std::string& address)
{
    const QUrl url(QString::fromStdString(address), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != "https" || url.host().isEmpty()) {
        return failed("This is no address of a web page.");
    }
    return openWithProgram(url.toString(QUrl::FullyEncoded));
}

bool LinuxWorkspace::hasPanel(SystemPanel panel) const
{
    return panelCommand(environment, panel).has_value();
}

Completion<Done> LinuxWorkspace::openPanel(SystemPanel panel)
{
    const auto command = panelCommand(environment, panel);
    return command ? started(command->program, command->arguments)
                   : failed("This desktop has no such settings.");
}

Completion<LinuxWorkspace::Chosen> LinuxWorkspace::chooseFolder(const std::string& title,
                                                                const std::string& prompt)
{
    cancelChoice();
    Completion<Chosen> result;
    const auto completer = result.completer();
    dialog = completer;
    portal.choose(title, prompt, [this, title, prompt, completer](const auto& answer) {
        if (const auto* chosen = std::get_if<FolderPortal::Chosen>(&answer)) {
            completer.complete(*chosen);
        } else if (const auto* unusable = std::get_if<FolderPortal::Unusable>(&answer)) {
            completer.failWith(unusable->why);
        } else if (!ownDialog.open(title, prompt, [completer](Chosen folder) {
                       completer.complete(std::move(folder));
                   })) {
            completer.failWith("This desktop has no dialog for choosing a folder.");
        }
    });
    return result;
}

void LinuxWorkspace::cancelChoice()
{
    if (const auto open = std::exchange(dialog, std::nullopt)) {
        portal.cancel();
        ownDialog.cancel();
        open->complete(std::nullopt);
    }
}

void LinuxWorkspace::bringToFront(std::uintptr_t window)
{
    if (!raiser) {
        raiser.emplace();
    }
    raiser->raise(static_cast<xcb_window_t>(window));
}

} // namespace vorlin
