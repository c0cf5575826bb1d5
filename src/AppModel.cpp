#include "AppModel.h"

#include "DefaultHotkey.h"
#include "Models/HubAddress.h"
#include "Models/HubDownloads.h"
#include "Ports/Permissions.h"
#include "Ports/Session.h"
#include "Ports/Sounds.h"
#include "Wording.h"

#include <utility>

namespace vorlin {

namespace {

constexpr auto permissionPoll = std::chrono::milliseconds(1500);
/// How long what the overlay says stays readable.
constexpr auto noticeTime = std::chrono::milliseconds(1600);
constexpr auto cancelledTime = std::chrono::milliseconds(700);
/// Who dictates pauses, but not for so long.
constexpr auto longestStillness = std::chrono::minutes(10);
/// In the state: the key that is bound in the desktop was seen to tell of its release.
constexpr const char* boundReleasesKey = "boundReleases";

} // namespace

AppModel::AppModel(const Ports& ports)
    : preferences(ports.defaults, ports.locale), dictation(ports.loop, ports.audioInput),
      speech(std::make_shared<ParakeetRuntime>(ports.mlModels, ports.folders, ports.loop,
                                               ports.workers, &ports.state),
             ports.speechAnalyzers, ports.audioConverters, ports.loop),
      downloads(std::make_unique<HubDownloads>(HubDownload::Needs{
          ports.loop, ports.workers, ports.http, ports.workingFolders, std::string(hubAddress)})),
      models({ports.loop, ports.workers, ports.folders, ports.random, preferences, speech,
              *downloads}),
      speeds(ports.state), monitor(ports.eventTap),
      hud(ports.loop, ports.screens, ports.overlayPanel, preferences), ports(ports),
      inserter(ports.loop, ports.pasteboard, ports.keyPoster, ports.focusedProgram),
      limits(ports.loop, dictation, ports.focusedProgram)
{
    boundReleases.set(ports.state.value(boundReleasesKey) == DefaultsValue(true));
    lookAtKey();
    accessibilityGranted.set(ports.permissions.isTrusted());
    microphoneGranted.set(ports.permissions.microphoneGranted());
    hud.attach(dictation);
    wireDictation();
    wireMonitor();
    if (!accessibilityGranted.get()) {
        ports.permissions.promptForTrust();
    }
    ports.permissions.requestMicrophone();
    refreshPermissions();
    models.warmSelected();
    pollPermissions();
}

AppModel::~AppModel() = default;

void AppModel::wireDictation()
{
    dictation.onFinished = lifetime.guard([this](const std::string& text) { finished(text); });
    dictation.onDemoEnded = lifetime.guard([this] { hud.hide(Duration::zero()); });
    dictation.onCancelled = lifetime.guard([this] {
        inserter.dismiss();
        play("Funk");
        hud.hide(cancelledTime);
    });
    inserter.onLeft = lifetime.guard([this] { textLeft(); });
    phaseChanges = dictation.phase.observe([this](const Dictation::Phase& phase) {
        monitor.updateInterest();
        showEscape();
        stayAwake();
        followSpeed(phase);
    });
    textChanges = dictation.transcript.observe([this](const std::string&) { stayAwake(); });
}

/// One who speaks for long touches nothing: the screen that then locks would cancel it. A dictation
/// that was forgotten is to lock.
void AppModel::stayAwake()
{
    const bool dictating =
        dictation.phase.get() != Dictation::Phase::idle && !dictation.isDemo.get();
    ports.session.keepAwake(dictating);
    stillness = dictating ? ports.loop.startTimer(longestStillness,
                                                  [this] { ports.session.keepAwake(false); })
                          : nullptr;
}

void AppModel::wireMonitor()
{
    monitor.escapeActive = [alive = lifetime.token(), this] {
        return alive.expired() || dictation.phase.get() != Dictation::Phase::idle;
    };
    monitor.onEscape = lifetime.guard([this] { dictation.cancel(); });
    monitor.onPress = lifetime.guard([this] {
        keyTimes.note(ports.loop.now(), monitor.eventTime());
        pressed(recordMode(), mayLoseRelease());
    });
    monitor.onRepeat =
        lifetime.guard([this] { keyTimes.note(ports.loop.now(), monitor.eventTime()); });
    monitor.onAgain = lifetime.guard([this] {
        const bool isNew = keyTimes.note(ports.loop.now(), monitor.eventTime());
        if (isNew && (mayLoseRelease() || !monitor.hasEscape())) {
            pressedAgain(recordMode(), mayLoseRelease());
        }
    });
    monitor.onRelease = lifetime.guard([this] { released(recordMode()); });
    // The file of the settings may be edited while the program runs.
    settingChanges = preferences.observe([this] { lookAtKey(); });
    // Not within the tap's own call: it may have to stop.
    layoutChanges = ports.eventTap.layoutChanges().observe(
        [this](std::size_t) { ports.loop.post(lifetime.guard([this] { lookAtKey(); })); });
    conflictChanges = ports.eventTap.conflict().observe([this](KeyConflict) { showEscape(); });
    sessionChanges = ports.session.isAway().observe([this](bool away) {
        if (away) {
            dictation.cancel();
            if (inserter.abandon()) {
                play("Funk");
            }
            monitor.stop(); // a key that is let go meanwhile may not be seen
            boundKey.letGo();
        } else {
            refreshPermissions();
        }
    });
}

/// Begins to watch the key, unless a new one is being recorded or nobody is there to press it.
void AppModel::watchKey()
{
    if (!recording.get() && !ports.session.isAway().get()) {
        lookAtKey();
        monitor.start(hotkey.get());
        keyWatch.set(ports.eventTap.watchable(hotkey.get())); // it may know only now
    }
}

/// Which key it is, and what the desktop tells of it.
void AppModel::lookAtKey()
{
    changeHotkey(preferences.hotkey(defaultHotkey(ports.wording.defaultKeys, ports.eventTap)));
    keyWatch.set(ports.eventTap.watchable(hotkey.get()));
}

void AppModel::showEscape()
{
    hud.setHasEscape(dictation.isDemo.get() || monitor.hasEscape());
}

/// How the dictation key works: a hold ends by a release.
RecordMode AppModel::recordMode() const
{
    return hasOnlyPresses() ? RecordMode::toggle : preferences.recordMode();
}

bool AppModel::hasOnlyPresses() const
{
    const bool isBound = ports.eventTap.conflict().get() == KeyConflict::unwatched;
    return isBound ? !boundReleases.get() : keyWatch.get() == KeyWatch::presses;
}

bool AppModel::mayLoseRelease() const
{
    return ports.eventTap.losesReleases() || keyWatch.get() == KeyWatch::presses;
}

void AppModel::perform(DictationAction action)
{
    if (recording.get() || ports.session.isAway().get()) {
        return;
    }
    const RecordMode mode = preferences.recordMode();
    switch (action) {
    case DictationAction::press: pressedBound(boundKey.press(ports.loop.now()), mode); break;
    case DictationAction::release:
        noteBoundReleases(true);
        if (boundKey.release(ports.loop.now())) {
            released(mode);
        }
        break;
    case DictationAction::toggle:
        noteBoundReleases(false);
        if (boundKey.toggle(ports.loop.now())) {
            pressed(RecordMode::toggle, /*limited=*/true);
        }
        break;
    case DictationAction::cancel: dictation.cancel(); break;
    }
}

void AppModel::noteBoundReleases(bool told)
{
    if (told != boundReleases.get()) {
        boundReleases.set(told);
        ports.state.set(boundReleasesKey, told);
    }
}

void AppModel::pressedBound(BoundKey::Press press, RecordMode mode)
{
    switch (press) {
    case BoundKey::Press::begins: pressed(mode, /*limited=*/true); break;
    case BoundKey::Press::again:
        noteBoundReleases(false);
        pressedAgain(mode, /*limited=*/true);
        break;
    case BoundKey::Press::repeats: break;
    case BoundKey::Press::tap:
        if (mode == RecordMode::toggle) { // in a hold nothing was said
            pressed(mode, /*limited=*/true);
        }
        break;
    }
}

void AppModel::pressed(RecordMode mode, bool limited)
{
    dictation.endDemo();
    const auto phase = dictation.phase.get();
    const auto make = [this] { return models.makeTranscriber(); };
    if (phase == Dictation::Phase::idle) {
        play("Tink");
        hud.show();
        dictation.keyDown(make);
        limits.begin(limited);
        inserter.anticipate();
    } else if (mode == RecordMode::toggle && phase != Dictation::Phase::finishing) {
        dictation.keyUp();
    } else if (phase == Dictation::Phase::listening && (limited || !monitor.hasEscape())) {
        dictation.keyUp(); // nobody holds the key that it was begun with
    } else {
        dictation.keyDown(make);
    }
}

/// A press of a key that counts as down: its release was not told.
void AppModel::pressedAgain(RecordMode mode, bool limited)
{
    if (dictation.phase.get() == Dictation::Phase::idle || dictation.isDemo.get()) {
        pressed(mode, limited);
    } else {
        dictation.keyUp();
    }
}

void AppModel::released(RecordMode mode)
{
    if (mode == RecordMode::hold) {
        dictation.keyUp();
    }
}

void AppModel::finished(const std::string& text)
{
    if (text.empty()) {
        hud.hide(dictation.notice.get() ? noticeTime : Duration::zero());
        inserter.dismiss();
        return;
    }
    hud.hide(Duration::zero());
    measureSpeed();
    if (!limits.endedBySilence()) {
        play("Pop");
        inserter.insert(text);
    } else if (const auto window = limits.window();
               window && ports.focusedProgram.window() == window) {
        play("Pop");
        inserter.insert(text, window);
    } else {
        inserter.leave(text);
    }
}

/// A text that nobody ended is on the clipboard.
void AppModel::textLeft()
{
    if (dictation.phase.get() == Dictation::Phase::idle) {
        dictation.tell("Copied. Paste it where you want it.");
        hud.show();
        hud.hide(noticeTime);
    }
}

void AppModel::followSpeed(Dictation::Phase phase)
{
    if (phase == Dictation::Phase::preparing) {
        listener = models.engineInUse();
    } else if (phase == Dictation::Phase::listening) {
        listeningSince = ports.loop.now();
    } else if (phase == Dictation::Phase::finishing) {
        finishingSince = ports.loop.now();
    }
}

void AppModel::measureSpeed()
{
    const auto seconds = [](Duration length) {
        return std::chrono::duration<double>(length).count();
    };
    speeds.measure(listener, {seconds(finishingSince - listeningSince),
                              seconds(ports.loop.now() - finishingSince)});
}

void AppModel::play(const char* sound)
{
    if (preferences.sounds()) {
        ports.sounds.play(sound);
    }
}

void AppModel::refreshPermissions()
{
    trustUnasked.set(ports.permissions.isTrustUnasked()); // first: who sees both sees no more
    accessibilityGranted.set(ports.permissions.isTrusted());
    microphoneGranted.set(ports.permissions.microphoneGranted());
    keyboardSecured.set(ports.permissions.isKeyboardSecured());
    canAskForTrust.set(ports.permissions.canAskForTrust());
    wouldAskForTyping.set(ports.permissions.wouldAskForTyping());
    trustObstacle.set(ports.permissions.trustObstacle());
    if (accessibilityGranted.get() && !monitor.isRunning()) {
        watchKey();
    }
    if (!accessibilityGranted.get() && monitor.isRunning()) {
        stopMonitor();
    }
}

void AppModel::pollPermissions()
{
    timer = ports.loop.startTimer(permissionPoll, [this] {
        refreshPermissions();
        pollPermissions();
    });
}

/// The release of a key that is held will not be seen.
void AppModel::stopMonitor()
{
    const bool lost = monitor.isHeld();
    monitor.stop();
    if (lost) {
        released(recordMode());
    }
}

void AppModel::setRecordingHotkey(bool on)
{
    recording.set(on);
    if (on) {
        stopMonitor();
        if (boundKey.letGo()) {
            released(preferences.recordMode());
        }
    } else {
        watchKey();
    }
}

void AppModel::setHotkey(const Hotkey& chosen)
{
    changeHotkey(chosen);
    preferences.setHotkey(chosen);
    if (!monitor.isRunning()) {
        watchKey();
    }
}

void AppModel::changeHotkey(const Hotkey& chosen)
{
    ports.eventTap.choose(chosen); // ahead of who asks what it needs
    if (chosen == hotkey.get()) {
        return; // one that is held stays held
    }
    const bool lost = monitor.isHeld(); // its release will not be seen
    const RecordMode mode = recordMode();
    const bool watched = monitor.isRunning();
    monitor.stop(); // what is known of the old key is not told of the new one
    keyWatch.set(KeyWatch::pressesAndReleases);
    hotkey.set(chosen);
    if (watched) {
        monitor.start(chosen);
    }
    keyWatch.set(ports.eventTap.watchable(chosen));
    if (lost) {
        released(mode);
    }
}

void AppModel::previewHUD()
{
    if (dictation.phase.get() != Dictation::Phase::idle && !dictation.isDemo.get()) {
        return;
    }
    hud.show();
    dictation.demo();
}

} // namespace vorlin
