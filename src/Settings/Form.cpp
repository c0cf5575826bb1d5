#include "Settings/Form.h"

namespace vorlin {

namespace {

using Visit = std::function<void(std::string&)>;

void visitCommand(Command& command, const Visit& visit)
{
    visit(command.text);
    visit(command.help);
}

void visitMenu(CommandMenu& menu, const Visit& visit)
{
    for (auto& group : menu) {
        for (auto& entry : group) {
            visitCommand(entry, visit);
        }
    }
}

/// The texts of each kind of control.
struct Texts {
    const Visit& visit;

    void operator()(TextControl& control) const { visit(control.text); }
    void operator()(HotkeyControl& control) const
    {
        visit(control.text);
        visitCommand(control.presetsButton, visit);
        for (auto& preset : control.presets) {
            visitCommand(preset, visit);
        }
    }
    void operator()(PickerControl& control) const
    {
        for (auto& choice : control.choices) {
            visit(choice.label);
            visit(choice.note);
        }
    }
    void operator()(ToggleControl& /*control*/) const {}
    void operator()(SliderControl& control) const { visit(control.text); }
    void operator()(FieldControl& control) const { visit(control.placeholder); }
    void operator()(FolderControl& control) const { visitCommand(control.choose, visit); }
    void operator()(ButtonControl& control) const { visitCommand(control.command, visit); }
    void operator()(PermissionControl& control) const
    {
        visit(control.state);
        visit(control.reason);
        if (control.open) {
            visitCommand(*control.open, visit);
        }
    }
    void operator()(EngineControl& control) const
    {
        visit(control.sizeLabel);
        visit(control.badge);
        visit(control.summary);
        for (auto& tag : control.tags) {
            visit(tag);
        }
        visitCommand(control.select, visit);
        visit(control.percentage);
        for (auto& command : control.commands) {
            visitCommand(command, visit);
        }
        visit(control.size);
        visitCommand(control.menuButton, visit);
        visitMenu(control.menu, visit);
        visitMenu(control.contextMenu, visit);
        visit(control.help);
    }
    void operator()(AboutControl& control) const
    {
        visit(control.version);
        visit(control.sentence);
        visit(control.developedBy);
        visitCommand(control.maker, visit);
    }
};

} // namespace

void forEachText(Form& form, const Visit& visit)
{
    for (auto& section : form) {
        visit(section.header);
        for (auto& command : section.commands) {
            visitCommand(command, visit);
        }
        for (auto& row : section.rows) {
            visit(row.label);
            std::visit(Texts{visit}, row.control);
            visit(row.caption);
            visit(row.problem);
        }
        visit(section.footer);
    }
}

void FormModel::setForm(Form next)
{
    forEachText(next, [this](std::string& text) { text = wording(text); });
    form.set(std::move(next));
}

} // namespace vorlin
