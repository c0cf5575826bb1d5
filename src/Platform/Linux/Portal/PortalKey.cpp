#include "Platform/Linux/Portal/PortalKey.h"

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

/// However often it failed.
constexpr std::chrono::minutes longestRetry{10};

} // namespace

PortalKey::PortalKey(const QDBusConnection& bus, const HostRegistry& registry, std::string what,
                     PortalMemory& memory, Callbacks callbacks, const PortalKeyTimes& times)
    : bus(bus), registry(registry),
      session(bus, registry, times.patience,
              {.activated = [this](const std::string& id,
                                   std::uint64_t timestamp) { pressed(id, timestamp); },
               .deactivated = [this](const std::string& id) { released(id); },
               .changed = [this](const BoundShortcuts& shortcuts) { changed(shortcuts); },
               .ended = [this](bool isDeclined) { ended(isDeclined); },
               .late = [this] { late(); },
               .doubted = [this](const std::string& id) { doubt(id); },
               .kept = [this](const std::string& /*doubted*/) { keep(); },
               .declined = [this](const std::string& id) { declined(id); }}),
      what(std::move(what)), memory(memory), callbacks(std::move(callbacks)), times(times),
      retryIn(times.retry)
{
    connect(&session, &ShortcutSession::orphaned, this, &PortalKey::orphaned);
    retry.setSingleShot(true);
    connect(&retry, &QTimer::timeout, this, [this] {
        session.forsake(); // who was to answer may have gone
        open();
    });
    connect(&registry, &HostRegistry::ready, this, &PortalKey::look);
    connect(&registry, &HostRegistry::absent, this, [this] { setPortal(KeysPortal::missing); });
    connect(&registry, &HostRegistry::gone, this, [this] {
        question.reset();
        doubted.reset();
        retry.stop();
        known.set(KeysPortal::unknown);
        lose(PortalKeyState::unknown);
    });
}

/// Learns whether there is such a portal; asks the person nothing.
void PortalKey::look()
{
    if (!registry.mayAsk()) {
        setPortal(KeysPortal::missing);
        return;
    }
    portals::readProperty(bus, registry, this, portals::shortcuts, QStringLiteral("version"),
                          [this](const std::optional<QVariant>& version) {
                              setPortal(version ? KeysPortal::there : KeysPortal::missing);
                          });
}

void PortalKey::setPortal(KeysPortal next)
{
    known.set(next);
    retryIn = times.retry;
    if (next == KeysPortal::missing) {
        lose(PortalKeyState::missing);
        answer();
    } else {
        open();
    }
}

void PortalKey::want(const std::optional<WantedShortcut>& next)
{
    if (next == wanted) {
        return;
    }
    wanted = next;
    if (!question) {
        lose(PortalKeyState::unknown);
        open();
    }
}

void PortalKey::ask(const WantedShortcut& asked, std::function<void()> answered)
{
    const bool isLate = session.isLate();
    const bool isUnseen = session.isAdopted(); // who sees a question answers it
    if (question && question->shortcut == asked && !isLate && !isUnseen) {
        question->answered = std::move(answered);
        return;
    }
    const bool isThere = wanted == asked && current.get() == PortalKeyState::bound;
    const bool isMissing = known.get() == KeysPortal::missing;
    if ((isMissing && registry.portal().isEmpty()) || (isThere && !question)) {
        answered();
        return;
    }
    question = {asked, std::move(answered)};
    lose(PortalKeyState::unknown);
    if (isMissing) {
        look();
        return;
    }
    if (session.adopt(asked.id)) {
        doubted.reset();
        return;
    }
    if (isLate) {
        session.giveUp();
    }
    open();
}

PortalConsent PortalKey::consent(const std::string& id) const
{
    return id == doubted ? PortalConsent::granted : memory.consent(what, id);
}

bool PortalKey::isGranted(const std::optional<WantedShortcut>& shortcut) const
{
    return known.get() == KeysPortal::there &&
           (!shortcut || consent(shortcut->id) == PortalConsent::granted);
}

bool PortalKey::isRefused(const WantedShortcut& shortcut) const
{
    return known.get() == KeysPortal::there && consent(shortcut.id) == PortalConsent::refused;
}

bool PortalKey::needsQuestion(const WantedShortcut& shortcut) const
{
    return known.get() == KeysPortal::there &&
           (!isGranted(shortcut) || current.get() == PortalKeyState::unanswered);
}

/// Opens a session for what is wanted, now or to ask for it.
void PortalKey::open()
{
    retry.stop();
    const auto& next = question ? std::optional(question->shortcut) : wanted;
    if (!next || known.get() != KeysPortal::there) {
        session.close();
        return;
    }
    session.open(
        [this, shortcut = *next](const ShortcutAnswer& answer) { listed(shortcut, answer); });
}

void PortalKey::listed(const WantedShortcut& shortcut, const ShortcutAnswer& answer)
{
    if (answer.end == ShortcutAnswer::End::missing) {
        setPortal(KeysPortal::missing);
    } else if (answer.end == ShortcutAnswer::End::failed) {
        fail();
    } else if (answer.bound.contains(shortcut.id)) {
        take(shortcut.id, answer.bound);
    } else if (question || consent(shortcut.id) == PortalConsent::granted) {
        bind(shortcut);
    } else {
        current.set(consent(shortcut.id) == PortalConsent::refused ? PortalKeyState::refused
                                                                   : PortalKeyState::unasked);
    }
}

void PortalKey::bind(const WantedShortcut& shortcut)
{
    const auto may =
        question ? ShortcutSession::Question::allowed : ShortcutSession::Question::none;
    session.bind(shortcut, may, [this, id = shortcut.id](const ShortcutAnswer& answered) {
        if (answered.bound.contains(id)) {
            take(id, answered.bound);
        } else if (answered.end != ShortcutAnswer::End::told) {
            keep();
            fail();
        } else {
            doubted.reset();
            // Only who was asked has refused; else it was taken back in the desktop's settings.
            memory.setConsent(what, id, question ? PortalConsent::refused : PortalConsent::unasked);
            session.close();
            lose(question ? PortalKeyState::refused : PortalKeyState::unasked);
            answer();
        }
    });
}

void PortalKey::take(const std::string& id, const BoundShortcuts& bound)
{
    const auto& description = bound.at(id);
    if (description.empty() && consent(id) == PortalConsent::refused) {
        current.set(PortalKeyState::refused); // some keep what was refused, without a key
    } else {
        doubted.reset();
        memory.setConsent(what, id, PortalConsent::granted);
        triggered.set(description);
        current.set(description.empty() ? PortalKeyState::taken : PortalKeyState::bound);
    }
    answer();
}

void PortalKey::changed(const BoundShortcuts& shortcuts)
{
    if (!wanted || question) {
        return;
    }
    if (shortcuts.contains(wanted->id)) {
        take(wanted->id, shortcuts);
    } else if (current.get() == PortalKeyState::bound || current.get() == PortalKeyState::taken) {
        declined(wanted->id); // the person has removed it
        lose(PortalKeyState::unasked);
        session.close();
    }
}

/// Nobody has decided anything: what was given to us stays given, for now.
void PortalKey::late()
{
    if (!question) {
        lose(PortalKeyState::unanswered);
    }
}

/// A dialog that goes with us must not come back by itself, whichever way we end.
void PortalKey::doubt(const std::string& id)
{
    if (consent(id) == PortalConsent::granted) {
        memory.setConsent(what, id, PortalConsent::unasked);
        doubted = id;
    }
}

/// What was doubted is ours.
void PortalKey::keep()
{
    if (const auto id = std::exchange(doubted, std::nullopt)) {
        memory.setConsent(what, *id, PortalConsent::granted);
    }
}

/// To have `id` again the desktop would ask the person.
void PortalKey::declined(const std::string& id)
{
    if (consent(id) == PortalConsent::granted) {
        doubted.reset();
        memory.setConsent(what, id, PortalConsent::unasked);
    }
}

/// The desktop has closed the session: perhaps with a question of its own, which is not put again.
void PortalKey::ended(bool isDeclined)
{
    if (current.get() == PortalKeyState::unanswered && isDeclined) {
        lose(PortalKeyState::unasked);
    } else {
        fail();
    }
}

/// The session is over or useless, and nobody has decided anything: it is tried again, but for the
/// question.
void PortalKey::fail()
{
    session.close();
    openLater();
    if (const auto done = std::exchange(question, std::nullopt)) {
        done->answered();
    }
}

void PortalKey::reopen()
{
    question.reset(); // what follows a question would be asked at once
    doubted.reset();
    openLater();
}

void PortalKey::openLater()
{
    lose(PortalKeyState::unknown);
    if (wanted && known.get() == KeysPortal::there) {
        retry.start(retryIn);
        retryIn = std::min<std::chrono::milliseconds>(2 * retryIn, longestRetry);
    }
}

/// What is held is let go: its release may never be told.
void PortalKey::lose(PortalKeyState next)
{
    triggered.set({});
    current.set(known.get() == KeysPortal::missing ? PortalKeyState::missing : next);
    if (std::exchange(isHeld, false)) {
        callbacks.released();
    }
}

void PortalKey::pressed(const std::string& id, std::uint64_t timestamp)
{
    if (wanted && wanted->id == id) {
        retryIn = times.retry;
        callbacks.pressed(std::exchange(isHeld, true), timestamp);
    }
}

void PortalKey::released(const std::string& id)
{
    if (wanted && wanted->id == id && std::exchange(isHeld, false)) {
        callbacks.released();
    }
}

/// The question is over. What was asked for is given back, unless it is wanted.
void PortalKey::answer()
{
    if (const auto done = std::exchange(question, std::nullopt)) {
        if (done->shortcut != wanted) {
            lose(PortalKeyState::unknown);
            open();
        }
        done->answered();
    }
}

} // namespace vorlin
