#pragma once

#include "Async/Lifetime.h"
#include "Async/Published.h"
#include "Wording.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace vorlin {

/// What a control does when the person uses it. An empty one does nothing. Copies may outlive the
/// form they came from: they then do nothing. Two are equal when both or neither do something, so
/// that a form is changed by what it shows.
template <class... Arguments>
class Action {
public:
    Action() = default;
    template <class Callback>
        requires(!std::is_same_v<Callback, Action> && std::is_invocable_v<Callback&, Arguments...>)
    Action(Callback callback) : call(std::move(callback)) // NOLINT(google-explicit-constructor)
    {
    }

    void operator()(Arguments... arguments) const
    {
        if (const auto kept = call) { // the call may replace the form that holds this
            kept(std::move(arguments)...);
        }
    }
    explicit operator bool() const { return static_cast<bool>(call); }
    bool operator==(const Action& other) const { return bool(*this) == bool(other); }

private:
    std::function<void(Arguments...)> call;
};

/// A button, or an entry of a menu.
struct Command {
    /// Empty for a button that shows its symbol alone.
    std::string text = {};
    /// The name of a symbol; empty for none.
    std::string symbol = {};
    /// Shown when the pointer or the focus rests on it; names a button without text.
    std::string help = {};
    bool enabled = true;
    /// Takes something away: shown as such.
    bool destructive = false;
    Action<> press = {};

    bool operator==(const Command&) const = default;
};

/// The entries of a menu, in groups with a divider between them.
using CommandMenu = std::vector<std::vector<Command>>;

/// A text to be read.
struct TextControl {
    std::string text;

    bool operator==(const TextControl&) const = default;
};

/// The dictation key: a button that shows it, or asks for a new one, and a menu of presets.
struct HotkeyControl {
    std::string text;
    /// A new key is being recorded: tinted.
    bool recording = false;
    /// Starts or stops recording.
    Action<> click;
    /// The button lost the focus, or is hidden.
    Action<> leave;
    /// Borderless, opens `presets`.
    Command presetsButton;
    std::vector<Command> presets;

    bool operator==(const HotkeyControl&) const = default;
};

/// One of several choices.
struct Choice {
    /// What is stored.
    std::string id;
    std::string label;
    /// What sets it apart, behind the label or under it; empty for nothing.
    std::string note;

    bool operator==(const Choice&) const = default;
};

/// One of several choices is selected, or none.
struct PickerControl {
    enum class Style {
        segmented,
        menu,
        /// Nine small cells, three a row; the labels are their help texts.
        grid,
    };

    Style style = Style::menu;
    std::vector<Choice> choices;
    /// The index of the choice that holds.
    std::optional<std::size_t> selected;
    /// Takes an index.
    Action<std::size_t> choose;

    bool operator==(const PickerControl&) const = default;
};

struct ToggleControl {
    bool on = false;
    Action<bool> set;

    bool operator==(const ToggleControl&) const = default;
};

struct SliderControl {
    double value = 0;
    double least = 0;
    double most = 1;
    double step = 1;
    /// The value beside the slider.
    std::string text;
    /// Widths of the slider and of the value's field, in points.
    double width = 170;
    double textWidth = 50;
    Action<double> set;

    bool operator==(const SliderControl&) const = default;
};

struct FieldControl {
    std::string text;
    std::string placeholder;
    /// Called with the whole text at each change.
    Action<std::string> edit;

    bool operator==(const FieldControl&) const = default;
};

/// A folder's path, empty when none is chosen, and the button that chooses one.
struct FolderControl {
    std::string path;
    Command choose;

    bool operator==(const FolderControl&) const = default;
};

struct ButtonControl {
    Command command;

    bool operator==(const ButtonControl&) const = default;
};

/// Whether something is allowed. The row's label is its title.
struct PermissionControl {
    bool granted = false;
    /// Of the state.
    std::string symbol;
    /// The state in a word, for a screen reader.
    std::string state;
    std::string reason;
    /// Opens the desktop's own settings; nothing where that makes no sense.
    std::optional<Command> open;

    bool operator==(const PermissionControl&) const = default;
};

/// One speech engine. The row's label is its name.
struct EngineControl {
    std::string sizeLabel;
    /// "Custom" or empty.
    std::string badge;
    std::string summary;
    std::vector<std::string> tags;
    bool selected = false;
    /// The plain button over the leading part that selects the engine: its symbol is the check
    /// mark, its `help` the name for a screen reader.
    Command select;
    /// 0 to 1 while it is downloaded, with its percentage as text.
    std::optional<double> progress;
    std::string percentage;
    /// On the trailing side, in order.
    std::vector<Command> commands;
    /// The disk room it takes, in caption size and secondary colour; empty while unknown.
    std::string size;
    /// Borderless, opens `menu`.
    Command menuButton;
    /// Behind `menuButton` on the trailing side; empty: no such button.
    CommandMenu menu;
    /// On a secondary click or the menu key; empty: none.
    CommandMenu contextMenu;
    /// Shown when the pointer or the focus rests on the row; empty for nothing.
    std::string help;

    bool operator==(const EngineControl&) const = default;
};

/// What the program is. The row's label is its name.
struct AboutControl {
    /// The name of the picture.
    std::string icon;
    std::string version;
    std::string sentence;
    /// "Developed by", then `maker`: a link when it has an action, else plain text.
    std::string developedBy;
    Command maker;

    bool operator==(const AboutControl&) const = default;
};

/// One line of a form: a label, a control, and up to two lines under them.
struct FormRow {
    using Control = std::variant<TextControl, HotkeyControl, PickerControl, ToggleControl,
                                 SliderControl, FieldControl, FolderControl, ButtonControl,
                                 PermissionControl, EngineControl, AboutControl>;

    /// Unique in its form, and the same for as long as the form shows the same thing: what has
    /// the focus keeps it.
    std::string id;
    /// Names the control to a screen reader, too. Empty: the control stands alone.
    std::string label;
    Control control;
    /// In caption size under the control; empty for nothing.
    std::string caption;
    /// What is wrong, in a colour that says so; a screen reader announces it. Empty for nothing.
    std::string problem = {};

    bool operator==(const FormRow&) const = default;
};

struct FormSection {
    std::string header;
    /// On the trailing side of the header's line.
    std::vector<Command> commands;
    std::vector<FormRow> rows;
    /// Secondary text under the section; empty for none.
    std::string footer;

    bool operator==(const FormSection&) const = default;
};

/// A grouped form, top to bottom.
using Form = std::vector<FormSection>;

/// Calls `visit` with every text of `form` that a person is shown or read out.
void forEachText(Form& form, const std::function<void(std::string&)>& visit);

/// A form that follows what it shows: every value changes within the call that changes its
/// source. Main loop.
class FormModel {
public:
    FormModel(const FormModel&) = delete;
    FormModel& operator=(const FormModel&) = delete;

    Published<Form, FormModel> form;

protected:
    explicit FormModel(const Wording& wording) : wording(wording) {}
    ~FormModel() = default;

    /// Shows `next` in the words of this desktop.
    void setForm(Form next);

    const Wording& wording;
};

} // namespace vorlin
