#include "AppModel.h"

#include "Models/HubAddress.h"
#include "Models/HubDownloads.h"
#include "Ports/Permissions.h"
#include "Ports/Session.h"
#include "Ports/Sounds.h"

namespace vorlin {

namespace {

constexpr auto permissionPoll = std::chrono::milliseconds(1500);
/// How long what the overlay says stays readable.
constexpr auto noticeTime = std::chrono::milliseconds(1600);
constexpr auto cancelledTime = std::chrono::milliseconds(700);
/// Who dictates pauses, but not for so long.
constexpr auto longestStillness = std::chrono::minutes(10);

} // namespace

AppModel::AppModel(const Ports& ports)
    : preferences(ports.defaults, ports.locale), dictation(ports.loop, ports.audioInput),
      speech(std::make_shared<ParakeetRuntime>(ports.mlModels, ports.folders, ports.loop,
                                               ports.workers),
             ports.speechAnalyzers, ports.audioConverters, ports.loop),
      downloads(std::make_unique<HubDownloads>(HubDownload::Needs{
          ports.loop, ports.workers, ports.http, ports.workingFolders, std::string(hubAddress)})),
      models({ports.loop, ports.workers, ports.folders, ports.random, preferences, speech,
              *downloads}),
      speeds(ports.state), monitor(ports.eventTap),
      hud(ports.loop, ports.screens, ports.overlayPanel, preferences), ports(ports),
      inserter(ports.loop, ports.pasteboard, ports.keyPoster, ports.focusedProgram)
{
    accessibilityGranted.set(ports.permissions.isTrusted());
    microphoneGranted.set(ports.permissions.microphoneGranted());
    hotkey.set(preferences.hotkey());
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
    phaseChanges = dictation.phase.observe([this](const Dictation::Phase& phase) {
        monitor.updateInterest();
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
    monitor.onPress = lifetime.guard([this] { pressed(); });
    monitor.onRelease = lifetime.guard([this] { released(); });
    // The file of the settings may be edited while the program runs.
    settingChanges = preferences.observe([this] {
        if (preferences.hotkey() != hotkey.get()) {
            changeHotkey(preferences.hotkey());
        }
    });
    sessionChanges = ports.session.isAway().observe([this](bool away) {
        if (away) {
            dictation.cancel();
            if (inserter.abandon()) {
                play("Funk");
            }
            monitor.stop(); // a key that is let go meanwhile may not be seen
        } else {
            refreshPermissions();
        }
    });
}

/// Begins to watch the key, unless a new one is being recorded or nobody is there to press it.
void AppModel::watchKey()
{
    if (!recording.get() && !ports.session.isAway().get()) {
        monitor.start(hotkey.get());
    }
}

void AppModel::pressed()
{
    dictation.endDemo();
    const auto phase = dictation.phase.get();
    const auto make = [this] { return models.makeTranscriber(); };
    if (phase == Dictation::Phase::idle) {
        play("Tink");
        hud.show();
        dictation.keyDown(make);
        inserter.anticipate();
    } else if (preferences.recordMode() == RecordMode::toggle &&
               phase != Dictation::Phase::finishing) {
        dictation.keyUp();
    } else {
        dictation.keyDown(make);
    }
}

void AppModel::released()
{
    if (preferences.recordMode() == RecordMode::hold) {
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
    play("Pop");
    inserter.insert(text);
    measureSpeed();
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
    accessibilityGranted.set(ports.permissions.isTrusted());
    microphoneGranted.set(ports.permissions.microphoneGranted());
    keyboardSecured.set(ports.permissions.isKeyboardSecured());
    if (accessibilityGranted.get() && !monitor.isRunning()) {
        watchKey();
    }
    if (!accessibilityGranted.get() && monitor.isRunning()) {
        monitor.stop();
    }
}

void AppModel::pollPermissions()
{
    timer = ports.loop.startTimer(permissionPoll, [this] {
        refreshPermissions();
        pollPermissions();
    });
}

void AppModel::setRecordingHotkey(bool on)
{
    const bool lost = on && monitor.isHeld(); // its release will not be seen
    recording.set(on);
    if (on) {
        monitor.stop();
        if (lost) {
            released();
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
    if (chosen == hotkey.get()) {
        return; // one that is held stays held
    }
    const bool lost = monitor.isHeld(); // its release will not be seen
    const bool watched = monitor.isRunning();
    monitor.stop(); // what is known of the old key is not told of the new one
    hotkey.set(chosen);
    if (watched) {
        monitor.start(chosen);
    }
    if (lost) {
        released();
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
