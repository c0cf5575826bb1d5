#pragma once

#include "AppModel.h"
#include "Ports/LoginItem.h"
#include "Ports/Ports.h"
#include "Settings/Form.h"
#include "Settings/HotkeyRecorder.h"

#include <map>
#include <string>
#include <vector>

namespace vorlin {

/// The dictation key, the language, the sounds, the start at login. Main loop.
class GeneralTab final : public FormModel {
public:
    /// Both must outlive this object. Asks the recogniser for its languages.
    GeneralTab(AppModel& model, const Ports& ports);

    HotkeyRecorder recorder;

    /// Asks anew whether the desktop starts the program at login, which nobody tells of.
    void readLoginItem();

private:
    void update();
    FormSection shortcut();
    FormSection speech();
    FormSection system();
    PickerControl languages();
    /// Which engine knows the chosen language, where the platform's recogniser is to and does not.
    std::string languageHint() const;
    /// Why a hold is not what was chosen.
    std::string modeOfDesktop() const;
    /// What else the dictation key does, where it does something else.
    std::string sideEffect() const;
    /// What the row of the key says is wrong.
    std::string problem() const;
    /// Why a key does not do what it should; empty where all do.
    std::string conflict() const;
    void setLaunchAtLogin(bool on);
    Task<void> askForModel(std::string language);

    AppModel& model;
    EventTap& tap;
    LoginItem& loginItem;
    SpeechAnalyzers& analyzers;
    /// Whether the recogniser has a model for a language, by identifier, once it has answered.
    std::map<std::string, bool> hasModel;
    bool launchAtLogin = false;
    std::string loginProblem;
    std::vector<Subscription> changes;
    Lifetime lifetime;
};

} // namespace vorlin
