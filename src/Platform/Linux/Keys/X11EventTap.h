#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Keys/X11KeyGrabs.h"
#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Ports/EventTap.h"

#include <memory>

#include <QObject>

namespace vorlin {

/// The keyboard of an X11 desktop as an active tap.
///
/// Tells modifier keys (never swallowed), the key of the hotkey with exactly its modifiers, and
/// Escape while it is of interest; no other keys. A key whose press is swallowed is released on
/// the person's behalf at once, unseen: programs see neither its press nor, later, its release,
/// it does not repeat, and what is typed while it is held reaches them as ever. While another
/// program has the keyboard to itself (an open menu, a screen lock), Escape is told but cannot be
/// swallowed, and the hotkey's key is not told. While a lone Alt or Super key is the hotkey and
/// held, a silent key is posted, so that programs do not take its release for a command.
/// Of a key that a window manager has taken in the classic way, the latest grab counts: the tap
/// takes its keys anew after window managers did or may have, and when the hotkey's modifiers go
/// down; once they are done it tells whether one of them has the hotkey, too.
/// `keyboard` and `loop` must outlive the tap.
class X11EventTap final : public EventTap {
public:
    X11EventTap(X11Keyboard& keyboard, MainLoop& loop);
    ~X11EventTap() override;

    bool start(Handler handler) override;
    void stop() override;
    /// The server never switches a tap off.
    void enable() override {}
    void setInterest(const KeyInterest& interest) override;
    bool typesCharacters(std::uint16_t keyCode) override;

private:
    struct Session;

    bool openSession(Handler handler);
    void applyInterest();
    void retake();
    void retakeSoon();
    void retakeBeforeTheKey(std::size_t done);
    void lookForSharers();
    KeyConflict findConflict() const;
    void pump();
    bool step(Session& session);
    void watch(Session& session, const KeyChange& change);
    void judge(Session& session, bool posted);
    void endSession();
    void reopenSession();
    bool isHotkey(const KeyChange& change);
    bool completesModifiers(const KeyChange& change);
    std::uint64_t heldModifiers(const KeyChange& change);
    void silence(const KeyChange& change);

    X11Keyboard& keyboard;
    MainLoop& loop;
    KeyInterest interest;
    /// Another program has the hotkey, too; known some seconds after it was taken.
    bool isShared = false;
    std::shared_ptr<Session> session;
    std::shared_ptr<const void> watching;
    bool pumping = false;
    Subscription availability;
    /// Runs while other programs may be taking their keys anew.
    Timer again;
    std::size_t attempt = 0;
    /// Runs while the hotkey's modifiers are held and its own key may come.
    Timer keyIsNext;
    QObject context;
};

} // namespace vorlin
