#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Dictation.h"
#include "HUDController.h"
#include "HoldLimits.h"
#include "Hotkey.h"
#include "HotkeyMonitor.h"
#include "Models/Downloads.h"
#include "Models/EngineSpeeds.h"
#include "Models/ModelStore.h"
#include "Models/RuntimeEngines.h"
#include "Ports/EventTap.h"
#include "Ports/Ports.h"
#include "Preferences.h"
#include "PressTimes.h"
#include "TextInserter.h"

#include <memory>
#include <string>

namespace vorlin {

/// What a key that the person has bound in the desktop may ask for.
enum class DictationAction { press, release, toggle, cancel };

/// The one application-wide object: owns the dictation, the engine catalog, the hotkey monitor,
/// the overlay and the text inserter, wires them together, and follows the two permissions. While
/// the person is away (`Session`) no dictation runs, no text is pasted, and the key is not watched.
/// Main loop.
class AppModel {
public:
    /// Builds and wires everything, asks for missing permissions and starts watching the key.
    explicit AppModel(const Ports& ports);
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;
    ~AppModel();

    Preferences preferences;
    Dictation dictation;

private:
    RuntimeEngines speech;
    const std::unique_ptr<Downloads> downloads;

public:
    ModelStore models;
    EngineSpeeds speeds;
    HotkeyMonitor monitor;
    HUDController hud;

    /// The process may watch and post key events; and the person is still to be asked for some of
    /// that.
    Published<bool, AppModel> accessibilityGranted{false};
    Published<bool, AppModel> trustUnasked{false};
    Published<bool, AppModel> microphoneGranted{false};
    /// The desktop can ask the person for what the two lack; typing is among that; and what keeps
    /// it from asking.
    Published<bool, AppModel> canAskForTrust{false};
    Published<bool, AppModel> wouldAskForTyping{false};
    Published<std::string, AppModel> trustObstacle;
    /// Some program has the keyboard to itself: the dictation key is not seen.
    Published<bool, AppModel> keyboardSecured{false};
    /// The dictation key.
    Published<Hotkey, AppModel> hotkey{Hotkey{}};
    /// What the desktop tells of it.
    Published<KeyWatch, AppModel> keyWatch{KeyWatch::pressesAndReleases};
    /// The key that the person bound in the desktop, where that is all there is, tells of its
    /// release, as far as was seen.
    Published<bool, AppModel> boundReleases{false};
    /// A new key is being recorded; the monitor is stopped meanwhile.
    Published<bool, AppModel> recording{false};

    /// Reads the permissions anew, and starts or stops the monitor accordingly.
    void refreshPermissions();

    /// The hotkey recorder starts (true) or stops (false) capturing keys. A dictation key that is
    /// held when it starts ends the dictation as its release would.
    void setRecordingHotkey(bool on);

    /// Stores a new dictation key, in effect at once. One that is held ends the dictation as its
    /// release would.
    void setHotkey(const Hotkey& hotkey);

    /// What the dictation key does, asked for by another program of the session: `press` and
    /// `release` as that key in the stored mode, a `press` that repeats counting once; `toggle`
    /// starts or ends; `cancel` abandons. Nothing while the person is away or a key is recorded.
    void perform(DictationAction action);

    /// The process is about to be replaced without its objects' end: puts back at once what a
    /// pasted text stands in the place of.
    void leaveInHaste() { inserter.restoreNow(); }

    /// The person's choice where this desktop reports releases, else toggle.
    RecordMode recordMode() const;

    /// Whether only presses are reported of what starts a dictation: of the dictation key, or of
    /// one that is bound in the desktop, where the desktop watches none.
    bool hasOnlyPresses() const;

    /// Shows the overlay with made-up levels until 2.5 s after the latest call. Ignored during a
    /// dictation.
    void previewHUD();

private:
    void wireDictation();
    void stayAwake();
    void wireMonitor();
    void watchKey();
    void lookAtKey();
    void showEscape();
    bool mayLoseRelease() const;
    void stopMonitor();
    void noteBoundReleases(bool told);
    void pressedBound(BoundKey::Press press, RecordMode mode);
    void pressed(RecordMode mode, bool limited);
    void pressedAgain(RecordMode mode, bool limited);
    void released(RecordMode mode);
    void changeHotkey(const Hotkey& chosen);
    void finished(const std::string& text);
    void textLeft();
    void play(const char* sound);
    void pollPermissions();
    void followSpeed(Dictation::Phase phase);
    void measureSpeed();

    const Ports ports;
    TextInserter inserter;
    HoldLimits limits;
    PressTimes keyTimes;
    /// What the actions are asked for by.
    BoundKey boundKey;
    /// Of the current dictation: who listens, since when, and when it was told to finish.
    std::string listener;
    TimePoint listeningSince;
    TimePoint finishingSince;
    Subscription phaseChanges;
    Subscription textChanges;
    Subscription settingChanges;
    Subscription sessionChanges;
    Subscription layoutChanges;
    Subscription conflictChanges;
    /// Until the permissions are read again.
    Timer timer;
    /// Until a dictation in which nothing was understood no longer keeps the desktop awake.
    Timer stillness;
    Lifetime lifetime;
};

} // namespace vorlin
