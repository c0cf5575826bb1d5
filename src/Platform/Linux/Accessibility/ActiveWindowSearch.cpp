#include "Platform/Linux/Accessibility/ActiveWindowSearch.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QList>

#include <filesystem>
#include <system_error>

namespace vorlin {

namespace {

const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString rootPath = QStringLiteral("/org/a11y/atspi/accessible/root");
const QString nullPath = QStringLiteral("/org/a11y/atspi/null");
/// The state of a window that has the keyboard, as a bit of the first number.
constexpr unsigned stateActive = 1U << 1U;
/// Programs and windows in all: beyond any desktop of a person's.
constexpr std::size_t mostObjects = 256;
/// It frames the windows of others on XWayland, and is active with each of them.
constexpr const char* framesOfOthers = "mutter-x11-frames";

std::string executableOf(unsigned process)
{
    std::error_code error;
    const auto file =
        std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    return error ? std::string() : file.filename().string();
}

bool hasLeft(const QDBusError& error)
{
    return error.type() == QDBusError::ServiceUnknown ||
           error.name() == "org.freedesktop.DBus.Error.NameHasNoOwner";
}

} // namespace

ActiveWindowSearch::ActiveWindowSearch(const QDBusConnection& bus,
                                       std::chrono::milliseconds patience, WhenDone whenDone)
    : bus(bus), patience(patience), whenDone(std::move(whenDone))
{
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, this, [this] { finish(std::nullopt); });
    limit.start(patience);
    askForPrograms();
}

void ActiveWindowSearch::abandon()
{
    limit.stop();
    whenDone = nullptr;
}

void ActiveWindowSearch::askForPrograms()
{
    ask({QStringLiteral("org.a11y.atspi.Registry"), rootPath}, accessible, "GetChildren", {},
        "a(so)", [this](const QVariant& answer) {
            const auto programs = objects(answer);
            for (const auto& each : programs.value_or(std::vector<Object>())) {
                askForWindows(each);
            }
            return programs.has_value();
        });
}

void ActiveWindowSearch::askForWindows(const Object& root)
{
    ask(root, accessible, "GetChildren", {}, "a(so)", [this, root](const QVariant& answer) {
        const auto windows = objects(answer);
        for (const auto& each : windows.value_or(std::vector<Object>())) {
            askForState(root, each);
        }
        return windows.has_value();
    });
}

void ActiveWindowSearch::askForState(const Object& root, const Object& window)
{
    ask(window, accessible, "GetState", {}, "au", [this, root, window](const QVariant& answer) {
        const auto states = qdbus_cast<QList<unsigned>>(answer);
        if (!states.isEmpty() && (states.front() & stateActive) != 0) {
            active.push_back({root,
                              {.id = (bus.name() + window.program + window.path).toStdString(),
                               .programName = {},
                               .executable = {}}});
        }
        return !states.isEmpty();
    });
}

void ActiveWindowSearch::askWhoTheyAre()
{
    for (std::size_t number = 0; number < active.size(); ++number) {
        const auto& root = active[number].root;
        ask(root, QStringLiteral("org.freedesktop.DBus.Properties"), "Get", {accessible, "Name"},
            "v", [this, number](const QVariant& answer) {
                active[number].window.programName =
                    answer.value<QDBusVariant>().variant().toString().toStdString();
                return true;
            });
        const QString driver = QStringLiteral("org.freedesktop.DBus");
        ask({driver, QStringLiteral("/org/freedesktop/DBus")}, driver, "GetConnectionUnixProcessID",
            {root.program}, "u", [this, number](const QVariant& answer) {
                active[number].window.executable = executableOf(answer.toUInt());
                return true;
            });
    }
}

void ActiveWindowSearch::ask(const Object& whom, const QString& interface, const QString& method,
                             const QVariantList& arguments, const QString& signature, Read read)
{
    auto message = QDBusMessage::createMethodCall(whom.program, whom.path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    ++open;
    auto* watcher = new QDBusPendingCallWatcher(
        bus.asyncCall(message, static_cast<int>(patience.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, signature, read = std::move(read)] {
                watcher->deleteLater();
                --open;
                answered(watcher->reply(), signature, read);
            });
}

void ActiveWindowSearch::answered(const QDBusMessage& reply, const QString& signature,
                                  const Read& read)
{
    if (!whenDone) {
        return;
    }
    const bool isUnderstood =
        reply.type() == QDBusMessage::ReplyMessage
            ? reply.signature() == signature && read(reply.arguments().constFirst())
            : !areNamed && hasLeft(QDBusError(reply));
    if (!isUnderstood) {
        finish(std::nullopt);
    } else if (open == 0) {
        conclude();
    }
}

/// Everybody has answered.
void ActiveWindowSearch::conclude()
{
    if (!areNamed && !active.empty()) {
        areNamed = true;
        askWhoTheyAre();
        return;
    }
    std::erase_if(active,
                  [](const Active& each) { return each.window.programName == framesOfOthers; });
    finish(active.size() == 1 ? std::optional(active.front().window) : std::nullopt);
}

void ActiveWindowSearch::finish(const std::optional<ActiveWindow>& found)
{
    limit.stop();
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(found);
    }
}

/// Reads an a(so); nothing where there are more objects by now than make sense, or one names
/// somebody that the bus would have to find, or start.
std::optional<std::vector<ActiveWindowSearch::Object>>
ActiveWindowSearch::objects(const QVariant& list)
{
    std::vector<Object> all;
    const auto array = list.value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        Object object;
        QDBusObjectPath path;
        array.beginStructure();
        array >> object.program >> path;
        array.endStructure();
        object.path = path.path();
        if (object.path == nullPath) {
            continue;
        }
        if (!object.program.startsWith(':') || ++listed > mostObjects) {
            return std::nullopt;
        }
        all.push_back(object);
    }
    array.endArray();
    return all;
}

} // namespace vorlin
