#include "Platform/Linux/Portal/PlayedPortal.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");

/// What a test tells calls apart by.
std::string words(const QDBusMessage& message)
{
    std::string call = message.member().toStdString();
    if (call == "Close") {
        call += message.path().contains("/session/") ? " session" : " request";
    }
    for (const QVariant& argument : message.arguments()) {
        if (argument.canConvert<QString>() && !argument.toString().isEmpty()) {
            call += " " + argument.toString().toStdString();
        } else if (argument.metaType() == QMetaType::fromType<QDBusArgument>()) {
            const auto shortcuts = argument.value<QDBusArgument>();
            if (shortcuts.currentSignature() == "a(sa{sv})") {
                for (const auto& each : qdbus_cast<PortalShortcuts>(shortcuts)) {
                    call += " " + each.id.toStdString() + "=" +
                            each.properties.value("preferred_trigger").toString().toStdString();
                }
            }
        }
    }
    return call;
}

} // namespace

PlayedPortal::PlayedPortal(const PlayedBus& on, const QString& name) : program(on, name)
{
    registerPortalShortcuts();
    program.bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
    program.bus.interface()->registerService(service,
                                             QDBusConnectionInterface::ReplaceExistingService,
                                             QDBusConnectionInterface::AllowReplacement);
}

PlayedPortal::~PlayedPortal()
{
    program.bus.unregisterObject("/", QDBusConnection::UnregisterTree);
}

bool PlayedPortal::handleMessage(const QDBusMessage& message, const QDBusConnection& from)
{
    calls.push_back(words(message));
    callers.push_back(message.service());
    const auto method = message.member().toStdString();
    message.setDelayedReply(true);
    const bool isSimple = method == "Register" || method.starts_with("Notify");
    if (isSimple && holdsReplies) {
        held.push_back(message);
        return true;
    }
    if (isSimple || method == "Get" || method == "Close") {
        from.send(replyToSimple(message));
        return true;
    }
    const auto answer = answers.find(method);
    if (message.member() == failing) {
        from.send(message.createErrorReply(QDBusError::Failed, "it went wrong"));
        return true;
    }
    if (answer == answers.end()) {
        from.send(message.createErrorReply(QDBusError::UnknownMethod, "no such portal"));
        return true;
    }
    const auto options = qdbus_cast<QVariantMap>(message.arguments().constLast());
    auto sender = message.service().mid(1);
    sender.replace('.', '_');
    const QString root = "/org/freedesktop/portal/desktop/";
    const auto request =
        root + "request/" + sender + "/" + options.value("handle_token").toString();
    if (method == "CreateSession") {
        session =
            root + "session/" + sender + "/" + options.value("session_handle_token").toString();
    }
    const auto response = answer->second(message);
    if (response && response->early) {
        send(request, *response);
    }
    from.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    if (response && !response->early) {
        send(request, *response);
    } else if (!response) {
        pending = request;
    }
    return true;
}

QDBusMessage PlayedPortal::replyToSimple(const QDBusMessage& message) const
{
    const auto asked = message.arguments().value(0).toString();
    if (message.member() == "Register") {
        return !hasRegistry           ? message.createErrorReply(QDBusError::UnknownMethod, "no")
               : asked == refusedName ? message.createErrorReply(QDBusError::Failed, "unknown name")
                                      : message.createReply();
    }
    if (message.member() != "Get") {
        return message.createReply();
    }
    const unsigned property = asked.endsWith(".RemoteDesktop") ? deviceTypes : hasKeys ? 1 : 0;
    return property == 0 ? message.createErrorReply(QDBusError::InvalidArgs, "no such interface")
                         : message.createReply(QVariant::fromValue(QDBusVariant(property)));
}

void PlayedPortal::reply(bool well)
{
    const auto message = held.front();
    held.pop_front();
    program.bus.send(well ? message.createReply()
                          : message.createErrorReply(QDBusError::AccessDenied, "Invalid session"));
}

void PlayedPortal::respond(const Response& response)
{
    send(std::exchange(pending, {}), response);
}

void PlayedPortal::send(const QString& request, const Response& response)
{
    auto signal = QDBusMessage::createSignal(request, "org.freedesktop.portal.Request", "Response");
    signal << response.code << response.results;
    program.bus.send(signal);
}

void PlayedPortal::emitSignal(const QString& interface, const QString& name,
                              const QVariantList& arguments, const QString& path)
{
    program.emitSignal(path, interface, name, arguments);
}

void PlayedPortal::takeIn(const QDBusConnection& from) const
{
    PlayedProgram::roundTrip(from);
    PlayedProgram::roundTrip(program.bus);
    QCoreApplication::sendPostedEvents();
    PlayedProgram::roundTrip(program.bus);
    PlayedProgram::roundTrip(from);
    QCoreApplication::sendPostedEvents();
}

int PlayedPortal::count(const std::string& call) const
{
    return static_cast<int>(std::ranges::count_if(
        calls, [&](const std::string& each) { return each.starts_with(call); }));
}

QVariantMap PlayedPortal::bound(const BoundShortcuts& shortcuts)
{
    PortalShortcuts list;
    for (const auto& [id, trigger] : shortcuts) {
        list.push_back({QString::fromStdString(id),
                        {{"description", "what the person reads"},
                         {"trigger_description", QString::fromStdString(trigger)}}});
    }
    return {{"shortcuts", QVariant::fromValue(list)}};
}

void PlayedPortal::watchesKeys(const BoundShortcuts& listed)
{
    answers["CreateSession"] = [this](const QDBusMessage&) { return opened(); };
    answers["ListShortcuts"] = [listed](const QDBusMessage&) {
        return Response{.results = bound(listed)};
    };
}

} // namespace vorlin
