#include "Platform/Linux/Portal/PortalKey.h"

#include <utility>

namespace vorlin {

PortalKey::PortalKey(const QDBusConnection& bus, const HostRegistry& registry, std::string what,
                     PortalMemory& memory, Callbacks callbacks)
    : registry(registry),
      session(bus, registry,
              {.activated = [this](const std::string& id) { told(id, true); },
               .deactivated = [this](const std::string& id) { told(id, false); },
               .changed = [this](const BoundShortcuts& shortcuts) { changed(shortcuts); },
               .ended = [this] { lose(PortalKeyState::unasked); }}),
      what(std::move(what)), memory(memory), callbacks(std::move(callbacks))
{
    connect(&registry, &HostRegistry::ready, this, [this] { open(); });
    connect(&registry, &HostRegistry::gone, this, [this] { lose(PortalKeyState::unknown); });
}

void PortalKey::want(const std::optional<WantedShortcut>& next)
{
    if (next != wanted) {
        wanted = next;
        lose(PortalKeyState::unknown);
        open();
    }
}

void PortalKey::ask(const WantedShortcut& asked, std::function<void()> answered)
{
    answer(); // an earlier question
    question = {asked, std::move(answered)};
    memory.setConsent(what, asked.id, PortalConsent::unasked);
    lose(PortalKeyState::unknown);
    open();
}

bool PortalKey::isGranted(const std::optional<WantedShortcut>& shortcut) const
{
    return !registry.portal().isEmpty() && current.get() != PortalKeyState::missing &&
           (!shortcut || memory.consent(what, shortcut->id) == PortalConsent::granted);
}

/// Opens a session for what is wanted, now or to ask for it.
void PortalKey::open()
{
    const auto& next = question ? std::optional(question->shortcut) : wanted;
    if (!next || registry.portal().isEmpty()) {
        session.close();
        return;
    }
    session.open([this, shortcut = *next](const std::optional<BoundShortcuts>& listed) {
        if (!listed) {
            current.set(PortalKeyState::missing);
            answer();
        } else if (listed->contains(shortcut.id)) {
            take(shortcut.id, *listed);
        } else if (question || memory.consent(what, shortcut.id) == PortalConsent::granted) {
            bind(shortcut);
        } else {
            current.set(memory.consent(what, shortcut.id) == PortalConsent::refused
                            ? PortalKeyState::refused
                            : PortalKeyState::unasked);
        }
    });
}

void PortalKey::bind(const WantedShortcut& shortcut)
{
    session.bind(shortcut, [this, id = shortcut.id](const BoundShortcuts& bound) {
        // Some give the key and call it a failure: what is bound counts.
        if (bound.contains(id)) {
            take(id, bound);
            return;
        }
        // Only who was asked has refused; else it was taken back in the desktop's settings.
        memory.setConsent(what, id, question ? PortalConsent::refused : PortalConsent::unasked);
        session.close();
        current.set(question ? PortalKeyState::refused : PortalKeyState::unasked);
        answer();
    });
}

void PortalKey::take(const std::string& id, const BoundShortcuts& bound)
{
    const auto& description = bound.at(id);
    memory.setConsent(what, id, PortalConsent::granted);
    triggered.set(description);
    current.set(description.empty() ? PortalKeyState::taken : PortalKeyState::bound);
    answer();
}

void PortalKey::changed(const BoundShortcuts& shortcuts)
{
    if (wanted && shortcuts.contains(wanted->id)) {
        take(wanted->id, shortcuts);
    }
}

/// What is held is let go: its release may never be told.
void PortalKey::lose(PortalKeyState next)
{
    triggered.set({});
    current.set(next);
    if (std::exchange(isHeld, false)) {
        callbacks.released();
    }
}

void PortalKey::told(const std::string& id, bool pressed)
{
    if (!wanted || wanted->id != id) {
        return;
    }
    if (pressed) {
        callbacks.pressed(std::exchange(isHeld, true));
    } else if (std::exchange(isHeld, false)) {
        callbacks.released();
    }
}

/// The question is over. What was asked for is given back, unless it is wanted.
void PortalKey::answer()
{
    if (const auto done = std::exchange(question, std::nullopt)) {
        if (done->shortcut != wanted) {
            session.close();
        }
        done->answered();
    }
}

} // namespace vorlin
