#include "Platform/Linux/Portal/RemoteDesktopPoster.h"

#include "Hotkey.h"
#include "Platform/Linux/Portal/KeyNames.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <array>
#include <ranges>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

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
                                         PortalMemory& memory, Places places,
                                         std::chrono::milliseconds patience)
    : bus(bus), registry(registry), memory(memory), places(std::move(places)),
      request(bus, &registry), strokes(bus, registry,
                                       {.acts =
                                            [this] {
                                                if (onChord) {
                                                    onChord();
                                                }
                                            },
                                        .sent =
                                            [this] {
                                                if (!isWanted) {
                                                    close();
                                                }
                                            }})
{
    limit.setSingleShot(true);
    limit.setInterval(patience);
    connect(&limit, &QTimer::timeout, this, [this] {
        late = true;
        doubt();
    });
    connect(&registry, &HostRegistry::ready, this, &RemoteDesktopPoster::look);
    connect(&registry, &HostRegistry::absent, this, [this] {
        allowed.set(Access::missing);
        answer();
    });
    connect(&registry, &HostRegistry::gone, this, [this] {
        if (!session.isEmpty()) {
            Q_EMIT orphaned(session);
        }
        forget();
        allowed.set(Access::unknown);
        whenAnswered = nullptr;
    });
}

RemoteDesktopPoster::~RemoteDesktopPoster()
{
    strokes.letGo();
    close();
}

/// Learns whether there is such a portal; asks the person nothing.
void RemoteDesktopPoster::look()
{
    if (!registry.mayAsk()) {
        allowed.set(Access::missing);
        answer();
        return;
    }
    portals::readProperty(bus, registry, this, portals::remoteDesktop,
                          QStringLiteral("AvailableDeviceTypes"),
                          [this](const std::optional<QVariant>& types) {
                              if (types && (types->toUInt() & keyboard) != 0) {
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
    // What is to be pressed is pressed first. A session that opens is let open: what it is opened
    // with serves once.
    if (stage == Stage::open && strokes.isIdle()) {
        close();
    }
}

KeyReadiness RemoteDesktopPoster::readiness() const
{
    if (stage == Stage::open) {
        return strokes.isIdle() ? KeyReadiness::ready : KeyReadiness::soon;
    }
    const bool opens = stage != Stage::closed && !whenAnswered && !late;
    return opens ? KeyReadiness::soon : KeyReadiness::never;
}

void RemoteDesktopPoster::ask(std::function<void()> answered)
{
    whenAnswered = std::move(answered);
    const bool opens = allowed.get() == Access::granted && !late;
    if (late) {
        if (stage == Stage::starting) {
            lapse(PortalConsent::unasked);
        }
        close();
    }
    if (opens || allowed.get() == Access::missing) {
        answer();
    } else {
        open();
    }
}

/// Opens a session where none is and the person allowed it, or is to be asked.
void RemoteDesktopPoster::open()
{
    const bool may = allowed.get() == Access::granted || whenAnswered;
    if (stage != Stage::closed || !may || registry.portal().isEmpty()) {
        return;
    }
    stage = Stage::opening;
    limit.start();
    request.send(portals::remoteDesktop, "CreateSession", {},
                 {{"session_handle_token", portals::freshToken()}},
                 [this](const PortalAnswer& answer) {
                     session = portals::handle(answer, "session_handle");
                     if (session.isEmpty()) {
                         fail(answer);
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
    request.send(portals::remoteDesktop, "SelectDevices",
                 {QVariant::fromValue(QDBusObjectPath(session))}, options,
                 [this](const PortalAnswer& answer) {
                     if (answer.succeeded()) {
                         startSession();
                     } else {
                         fail(answer);
                     }
                 });
}

void RemoteDesktopPoster::startSession()
{
    if (whenAnswered) {
        limit.stop(); // the person takes their time
        late = false;
    }
    stage = Stage::starting;
    doubt();
    request.send(portals::remoteDesktop, "Start",
                 {QVariant::fromValue(QDBusObjectPath(session)), QString()}, {},
                 [this](const PortalAnswer& answer) { started(answer); });
}

void RemoteDesktopPoster::started(const PortalAnswer& answered)
{
    const bool mayType = (answered.results.value("devices").toUInt() & keyboard) != 0;
    if (!answered.succeeded() || !mayType) {
        refuse(answered);
        fail(answered);
        return;
    }
    // At once: each serves for one session only.
    const auto token = answered.results.value("restore_token").toString().toStdString();
    memory.setToken(what, token.empty() ? std::nullopt : std::optional(token));
    memory.setConsent(what, form, token.empty() ? PortalConsent::unasked : PortalConsent::granted);
    stage = Stage::open;
    limit.stop();
    late = false;
    doubted.reset();
    remember();
    if (!isWanted) {
        close();
    }
    answer();
}

/// A dialog that goes with us must not come back by itself, whichever way we end.
void RemoteDesktopPoster::doubt()
{
    const auto token = memory.token(what);
    if (late && stage == Stage::starting && token) {
        doubted = token;
        memory.setToken(what, std::nullopt);
        memory.setConsent(what, form, PortalConsent::unasked);
    }
}

/// Only what the person says is a refusal of theirs. Where the desktop was late it has asked them,
/// without being told to, and would ask again.
void RemoteDesktopPoster::refuse(const PortalAnswer& answered)
{
    if (answered.end == PortalAnswer::End::answered && answered.code <= 1) {
        lapse(PortalConsent::refused);
    } else if (late && answered.end == PortalAnswer::End::answered) {
        lapse(PortalConsent::unasked);
    } else if (doubted && answered.end == PortalAnswer::End::failed) {
        memory.setToken(what, doubted);
        memory.setConsent(what, form, PortalConsent::granted);
    }
}

/// No later session opens without a question.
void RemoteDesktopPoster::lapse(PortalConsent consent)
{
    memory.setToken(what, std::nullopt);
    memory.setConsent(what, form, consent);
    remember();
}

void RemoteDesktopPoster::fail(const PortalAnswer& answered)
{
    if (answered.end != PortalAnswer::End::gone) { // which the registry tells of
        close();
        answer();
    }
}

void RemoteDesktopPoster::close()
{
    if (request.isPending() && session.isEmpty()) {
        request.leaveSession();
    }
    request.close();
    if (!session.isEmpty()) {
        portals::closeSession(bus, registry.portal(), session);
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
    late = false;
    doubted.reset();
    strokes.forget();
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
        const bool asked = stage == Stage::starting && late;
        forget();
        if (asked) {
            lapse(PortalConsent::unasked);
        }
        answer();
    }
}

void RemoteDesktopPoster::post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags)
{
    const auto key = strokeFor(keyCode);
    if (stage != Stage::open || !key) {
        return;
    }
    std::vector<PortalStroke> chord;
    for (const auto symbol : modifierSymbols(flags)) {
        chord.push_back({.isSymbol = true, .key = symbol});
    }
    chord.push_back(*key);
    if (!keyDown) {
        std::ranges::reverse(chord);
    }
    for (auto& each : chord) {
        each.down = keyDown;
    }
    chord.back().acts = keyDown;
    strokes.send(session, chord);
}

std::optional<PortalStroke> RemoteDesktopPoster::strokeFor(std::uint16_t keyCode) const
{
    if (const auto place = places(keyCode)) {
        return PortalStroke{.isSymbol = false, .key = *place};
    }
    const auto symbol = keySymbol(keySymbolName(keyCode));
    return symbol == 0 ? std::nullopt
                       : std::optional(PortalStroke{.isSymbol = true, .key = symbol});
}

void RemoteDesktopPoster::answer()
{
    if (const auto done = std::exchange(whenAnswered, nullptr)) {
        done();
    }
}

} // namespace vorlin
