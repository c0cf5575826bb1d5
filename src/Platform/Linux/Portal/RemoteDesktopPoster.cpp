#include "Platform/Linux/Portal/RemoteDesktopPoster.h"

#include "Hotkey.h"
#include "Platform/Linux/Portal/KeyNames.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <array>
#include <ranges>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

const QString remoteDesktop = QStringLiteral("org.freedesktop.portal.RemoteDesktop");
/// In the portal's memory: what is asked for has one form only.
constexpr const char* what = "chord";
constexpr const char* form = "keyboard";
constexpr unsigned keyboard = 1;
constexpr unsigned untilRevoked = 2;

/// The left one of each modifier.
std::vector<std::uint32_t> modifierSymbols(std::uint64_t flags)
{
    std::vector<std::uint32_t> symbols;
    for (const auto& [flag, name] : {std::pair{eventFlags::maskControl, "Control_L"},
                                     {eventFlags::maskAlternate, "Alt_L"},
                                     {eventFlags::maskShift, "Shift_L"},
                                     {eventFlags::maskCommand, "Super_L"}}) {
        if ((flags & flag) != 0) {
            symbols.push_back(keySymbol(name));
        }
    }
    return symbols;
}

} // namespace

RemoteDesktopPoster::RemoteDesktopPoster(const QDBusConnection& bus, const HostRegistry& registry,
                                         PortalMemory& memory, std::chrono::milliseconds patience)
    : bus(bus), registry(registry), memory(memory), request(bus)
{
    limit.setSingleShot(true);
    limit.setInterval(patience);
    connect(&limit, &QTimer::timeout, this, &RemoteDesktopPoster::takeBack);
    connect(&registry, &HostRegistry::ready, this, &RemoteDesktopPoster::look);
    connect(&registry, &HostRegistry::gone, this, [this] {
        forget();
        allowed.set(Access::unknown);
        answer();
    });
}

RemoteDesktopPoster::~RemoteDesktopPoster()
{
    close();
}

/// Learns whether there is such a portal; asks the person nothing.
void RemoteDesktopPoster::look()
{
    auto message = QDBusMessage::createMethodCall(portals::service, portals::path,
                                                  QStringLiteral("org.freedesktop.DBus.Properties"),
                                                  QStringLiteral("Get"));
    message << remoteDesktop << QStringLiteral("AvailableDeviceTypes");
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError() && (reply.value().variant().toUInt() & keyboard) != 0) {
            remember();
        } else {
            allowed.set(Access::missing);
        }
        if (isWanted || whenAnswered) {
            open();
        }
    });
}

void RemoteDesktopPoster::remember()
{
    switch (memory.consent(what, form)) {
    case PortalConsent::granted: allowed.set(Access::granted); return;
    case PortalConsent::refused: allowed.set(Access::refused); return;
    case PortalConsent::unasked: allowed.set(Access::unasked); return;
    }
}

void RemoteDesktopPoster::prepare()
{
    isWanted = true;
    open();
}

void RemoteDesktopPoster::rest()
{
    isWanted = false;
    if (stage == Stage::open) {
        close(); // one that opens is let open: what it is opened with serves once
    }
}

KeyReadiness RemoteDesktopPoster::readiness() const
{
    if (stage == Stage::open) {
        return KeyReadiness::ready;
    }
    return stage == Stage::opening && !whenAnswered ? KeyReadiness::soon : KeyReadiness::never;
}

void RemoteDesktopPoster::ask(std::function<void()> answered)
{
    answer(); // an earlier question
    whenAnswered = std::move(answered);
    if (allowed.get() == Access::granted || allowed.get() == Access::missing) {
        answer();
        return;
    }
    memory.setConsent(what, form, PortalConsent::unasked);
    open();
}

/// Opens a session where none is and the person allowed it, or is to be asked.
void RemoteDesktopPoster::open()
{
    const bool may = allowed.get() == Access::granted || whenAnswered;
    if (stage != Stage::closed || !may || registry.portal().isEmpty()) {
        return;
    }
    stage = Stage::opening;
    if (!whenAnswered) {
        limit.start();
    }
    request.send(remoteDesktop, "CreateSession", {},
                 {{"session_handle_token", portals::freshToken()}},
                 [this](const PortalAnswer& answer) {
                     session = portals::handle(answer, "session_handle");
                     if (session.isEmpty()) {
                         fail(/*byThePerson=*/false);
                     } else {
                         listen(true);
                         selectDevices();
                     }
                 });
}

void RemoteDesktopPoster::selectDevices()
{
    QVariantMap options{{"types", keyboard}, {"persist_mode", untilRevoked}};
    if (const auto token = memory.token(what)) {
        options.insert("restore_token", QString::fromStdString(*token));
    }
    request.send(remoteDesktop, "SelectDevices", {QVariant::fromValue(QDBusObjectPath(session))},
                 options, [this](const PortalAnswer& answer) {
                     if (answer.succeeded()) {
                         startSession();
                     } else {
                         fail(/*byThePerson=*/false);
                     }
                 });
}

void RemoteDesktopPoster::startSession()
{
    request.send(remoteDesktop, "Start", {QVariant::fromValue(QDBusObjectPath(session)), QString()},
                 {}, [this](const PortalAnswer& answer) { started(answer); });
}

void RemoteDesktopPoster::started(const PortalAnswer& answered)
{
    const bool mayType = (answered.results.value("devices").toUInt() & keyboard) != 0;
    if (!answered.succeeded() || !mayType) {
        fail(/*byThePerson=*/answered.end == PortalAnswer::End::answered);
        return;
    }
    // At once: each serves for one session only.
    const auto token = answered.results.value("restore_token").toString().toStdString();
    memory.setToken(what, token.empty() ? std::nullopt : std::optional(token));
    memory.setConsent(what, form, token.empty() ? PortalConsent::unasked : PortalConsent::granted);
    stage = Stage::open;
    limit.stop();
    remember();
    if (!isWanted) {
        close();
    }
    answer();
}

/// The desktop asks the person, who is dictating, instead of opening the session: what it was to
/// be opened with is worth nothing any more.
void RemoteDesktopPoster::takeBack()
{
    memory.setToken(what, std::nullopt);
    memory.setConsent(what, form, PortalConsent::unasked);
    remember();
    close();
}

void RemoteDesktopPoster::fail(bool byThePerson)
{
    if (byThePerson) {
        memory.setToken(what, std::nullopt);
        memory.setConsent(what, form, PortalConsent::refused);
        remember();
    }
    close();
    answer();
}

void RemoteDesktopPoster::close()
{
    request.close();
    if (!session.isEmpty()) {
        portals::closeSession(bus, session);
    }
    forget();
}

/// No session is left.
void RemoteDesktopPoster::forget()
{
    request.forget();
    listen(false);
    session.clear();
    stage = Stage::closed;
    limit.stop();
}

/// By the name of no sender, which Qt would wait to learn the owner of.
void RemoteDesktopPoster::listen(bool on)
{
    const auto slot = SLOT(closed(QDBusMessage));
    if (session.isEmpty()) {
        return;
    }
    if (on) {
        bus.connect({}, session, portals::sessionInterface, "Closed", this, slot);
    } else {
        bus.disconnect({}, session, portals::sessionInterface, "Closed", this, slot);
    }
}

void RemoteDesktopPoster::closed(const QDBusMessage& message)
{
    if (message.service() == registry.portal() && message.path() == session) {
        forget();
        answer();
    }
}

void RemoteDesktopPoster::post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags)
{
    const auto key = keySymbol(keySymbolName(keyCode));
    if (stage != Stage::open || key == 0) {
        return;
    }
    const auto modifiers = modifierSymbols(flags);
    if (keyDown) {
        for (const auto modifier : modifiers) {
            notify(modifier, true);
        }
        notify(key, true);
    } else {
        notify(key, false);
        for (const auto modifier : modifiers | std::views::reverse) {
            notify(modifier, false);
        }
    }
}

void RemoteDesktopPoster::notify(std::uint32_t symbol, bool down)
{
    auto message = QDBusMessage::createMethodCall(portals::service, portals::path, remoteDesktop,
                                                  QStringLiteral("NotifyKeyboardKeysym"));
    message << QVariant::fromValue(QDBusObjectPath(session)) << QVariantMap()
            << static_cast<int>(symbol) << (down ? 1U : 0U);
    bus.send(message);
}

void RemoteDesktopPoster::answer()
{
    if (const auto done = std::exchange(whenAnswered, nullptr)) {
        done();
    }
}

} // namespace vorlin
