#include "Settings/GeneralTab.h"

#include "Ports/EventTap.h"
#include "Ports/SpeechAnalyzer.h"
#include "Settings/Texts.h"

#include <array>
#include <exception>

namespace vorlin {

namespace {

constexpr std::array<const char*, recordModes.size()> recordModeLabels = {"Hold to talk",
                                                                          "Press to start & stop"};

} // namespace

GeneralTab::GeneralTab(AppModel& model, const Ports& ports)
    : FormModel(ports.wording), recorder(model, ports.localKeyMonitor, ports.session), model(model),
      tap(ports.eventTap), loginItem(ports.loginItem), analyzers(ports.speechAnalyzers),
      launchAtLogin(loginItem.isEnabled())
{
    changes.push_back(model.preferences.observe([this] { update(); }));
    const auto follow = [this](const auto& source) {
        changes.push_back(source.observe([this](const auto&) { update(); }));
    };
    follow(model.hotkey);
    follow(model.keyWatch);
    follow(model.boundReleases);
    follow(recorder.recording);
    follow(recorder.hint);
    follow(tap.conflict());
    follow(tap.trigger());
    follow(tap.layoutChanges());
    follow(model.models.selected);
    update();
    for (const auto& language : dictationLanguages) {
        spawn(ports.loop, lifetime.token(), askForModel(std::string(language.identifier)));
    }
    spawn(ports.loop, lifetime.token(), askForModel(model.preferences.language()));
}

Task<void> GeneralTab::askForModel(std::string language)
{
    try {
        auto asked = analyzers.supportedLocale(language);
        hasModel[language] = (co_await asked).has_value();
        update();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): then it is not known
    }
}

void GeneralTab::update()
{
    setForm({shortcut(), speech(), system()});
}

FormSection GeneralTab::shortcut()
{
    const bool recording = recorder.recording.get();
    HotkeyControl key{
        .text = recording ? "Press a key…" : wording.label(model.hotkey.get(), tap.trigger().get()),
        .recording = recording,
        .click = lifetime.guard([this] { recorder.click(); }),
        .leave = lifetime.guard([this] { recorder.stop(); }),
        .presetsButton = {{}, "ellipsis.circle", "Presets"},
        .presets = {},
    };
    for (const Hotkey& preset : wording.presets) {
        key.presets.push_back(
            {wording.label(preset), {}, {}, true, false, lifetime.guard([this, preset] {
                 recorder.choose(preset);
             })});
    }
    PickerControl mode{PickerControl::Style::segmented,
                       {},
                       static_cast<std::size_t>(model.preferences.recordMode()),
                       lifetime.guard([this](std::size_t index) {
                           model.preferences.setRecordMode(recordModes.at(index));
                       })};
    for (const RecordMode each : recordModes) {
        mode.choices.push_back(
            {std::string(rawValue(each)), recordModeLabels.at(static_cast<std::size_t>(each)), {}});
    }
    return {"Shortcut",
            {},
            {{"hotkey", "Dictation key", key, sideEffect(), problem()},
             {"recordMode", "Recording", mode, modeOfDesktop()},
             {"cancel", "Cancel", TextControl{"Press Esc, or press the dictation key again"}, {}}},
            "Hold the key while you speak and release to insert the text, or switch to press once "
            "to start and again to stop. Choose a single modifier key, or click the key box and "
            "press any combination such as ⌥ Space or F5."};
}

std::string GeneralTab::modeOfDesktop() const
{
    return model.hasOnlyPresses()
               ? "This desktop reports only presses: press to start, again to stop."
               : "";
}

std::string GeneralTab::sideEffect() const
{
    const Hotkey used = model.hotkey.get();
    if (!used.modifierOnly || !tap.typesCharacters(used.keyCode)) {
        return {};
    }
    const std::string key = wording.label(used);
    return key +
           " is used as the dictation key. It also types characters on this keyboard: "
           "typing one with it starts a dictation. " +
           wording.label({keyCodes::rightControl, 0, true}) + " does not.";
}

std::string GeneralTab::problem() const
{
    // The hint is about what was just done, and the key does not work all the same.
    return together(wording(recorder.hint.get()), conflict());
}

std::string GeneralTab::conflict() const
{
    const auto refusal = tap.conflict().get();
    if (refusal == KeyConflict::unwatched) {
        return "This desktop does not let Vorlin watch keys. Bind Vorlin's actions to a key of the "
               "desktop's instead: see /usr/share/doc/vorlin/DESKTOPS.md.";
    }
    // A key that another program has is not reported for that reason.
    if (model.keyWatch.get() == KeyWatch::nothing && refusal != KeyConflict::hotkeyTaken) {
        const std::string key = wording.label(model.hotkey.get());
        return "This desktop does not report " + key +
               (model.hotkey.get().modifierOnly ? " on its own" : "") +
               (refusal == KeyConflict::hotkeyUnasked
                    ? ". Choose another key, or let the desktop offer one under Permissions."
                    : ". Choose another key.");
    }
    switch (refusal) {
    case KeyConflict::none:
    case KeyConflict::unwatched: return {};
    case KeyConflict::hotkeyTaken:
        return "Another program uses " + wording.label(model.hotkey.get()) + ".";
    case KeyConflict::hotkeyShared: return "Another program also uses this shortcut.";
    case KeyConflict::hotkeyMissing:
        return "This keyboard has no key for " + wording.label(model.hotkey.get()) + ".";
    case KeyConflict::hotkeyUnasked:
        return "This desktop must be asked for " + wording.label(model.hotkey.get()) +
               " first. Allow it under Permissions.";
    case KeyConflict::escapeTaken: return "Another program uses Escape.";
    case KeyConflict::escapeUnasked:
        return "This desktop must be asked for Escape first. Allow it under Permissions.";
    case KeyConflict::escapeUnwatched: return "This desktop does not let Vorlin watch Escape.";
    }
    return {};
}

PickerControl GeneralTab::languages()
{
    const std::string stored = model.preferences.language();
    PickerControl picker;
    for (const auto& language : dictationLanguages) {
        const std::string identifier(language.identifier);
        const auto known = hasModel.find(identifier);
        const char* note = known == hasModel.end() ? ""
                           : known->second         ? "Installed"
                                                   : "Not installed";
        picker.choices.push_back({identifier, std::string(language.displayName), note});
    }
    for (std::size_t i = 0; i < picker.choices.size() && !picker.selected; ++i) {
        if (picker.choices[i].id == stored) {
            picker.selected = i;
        }
    }
    if (!picker.selected) {
        // One that was stored by other means stays.
        picker.selected = picker.choices.size();
        picker.choices.push_back({stored, stored, {}});
    }
    picker.choose = lifetime.guard([this, choices = picker.choices](std::size_t index) {
        model.preferences.setLanguage(choices.at(index).id);
    });
    return picker;
}

std::string GeneralTab::languageHint() const
{
    const std::string own = model.preferences.unlistedLanguage();
    const auto* knowing = own.empty() ? nullptr : Engine::knowing(own);
    if (!own.empty() && knowing == nullptr) {
        return "No engine knows the language of your desktop.";
    }
    if (model.models.selected.get() != appleEngineId) {
        return {};
    }
    if (knowing != nullptr) {
        return "The language of your desktop is not in this list. " + knowing->name + " (" +
               knowing->sizeLabel + ") knows it: see Models.";
    }
    const std::string language = model.preferences.language();
    const auto known = hasModel.find(language);
    if (known == hasModel.end() || known->second) {
        return {};
    }
    const auto* engine = Engine::knowing(language);
    return engine == nullptr ? "No engine knows this language."
                             : engine->name + " (" + engine->sizeLabel + ") knows " +
                                   displayName(language) + ": see Models.";
}

FormSection GeneralTab::speech()
{
    return {"Speech",
            {},
            {{"language", "Language (Apple Speech)", languages(), languageHint()},
             {"sounds",
              "Play sounds",
              ToggleControl{model.preferences.sounds(),
                            lifetime.guard([this](bool on) { model.preferences.setSounds(on); })},
              {}}},
            {}};
}

FormSection GeneralTab::system()
{
    return {
        "System",
        {},
        {{"login",
          "Open at login",
          ToggleControl{launchAtLogin, lifetime.guard([this](bool on) { setLaunchAtLogin(on); })},
          {},
          loginProblem}},
        {}};
}

void GeneralTab::readLoginItem()
{
    launchAtLogin = loginItem.isEnabled();
    update();
}

void GeneralTab::setLaunchAtLogin(bool on)
{
    loginProblem.clear();
    try {
        loginItem.setEnabled(on);
    } catch (const std::exception& error) {
        loginProblem = error.what();
    }
    readLoginItem();
}

} // namespace vorlin
