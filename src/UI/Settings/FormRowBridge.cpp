#include "UI/Settings/FormRowBridge.h"

#include <QPointer>

#include <array>

namespace vorlin {

namespace {

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

/// In the order of `FormRow::Control`.
constexpr std::array<const char*, std::variant_size_v<FormRow::Control>> views = {
    "TextView",   "HotkeyView", "PickerView",     "ToggleView", "SliderView", "FieldView",
    "FolderView", "ButtonView", "PermissionView", "EngineView", "AboutView"};

constexpr std::array<const char*, 3> pickerViews = {"SegmentsView", "PickerView", "PositionsView"};

} // namespace

/// The members of each kind of control, by name.
struct FormRowBridge::Members {
    FormRowBridge& row;

    template <class Commands>
    QVariantList list(const char* name, const Commands& shown) const
    {
        auto& kept = row.commands.try_emplace(name, &row).first->second;
        kept.show(shown);
        return kept.list();
    }
    QVariant one(const char* name, const Command& command) const
    {
        return list(name, std::vector<Command>{command}).constFirst();
    }

    QVariantMap operator()(const TextControl& control) const
    {
        return {{"text", text(control.text)}};
    }
    QVariantMap operator()(const HotkeyControl& control) const
    {
        return {{"text", text(control.text)},
                {"recording", control.recording},
                {"presetsButton", one("presetsButton", control.presetsButton)},
                {"presets", list("presets", control.presets)}};
    }
    QVariantMap operator()(const PickerControl& control) const
    {
        QVariantList choices;
        for (const auto& choice : control.choices) {
            choices.append(QVariantMap{{"label", text(choice.label)}, {"note", text(choice.note)}});
        }
        if (choices != row.pickerChoices) {
            row.pickerChoices = choices;
            Q_EMIT row.choicesChanged();
        }
        const auto& selected = control.selected;
        return {{"selected", selected ? static_cast<int>(*selected) : -1},
                {"text", selected ? text(control.choices.at(*selected).label) : QString()}};
    }
    QVariantMap operator()(const ToggleControl& control) const { return {{"on", control.on}}; }
    QVariantMap operator()(const SliderControl& control) const
    {
        return {{"value", control.value},        {"least", control.least},
                {"most", control.most},          {"step", control.step},
                {"text", text(control.text)},    {"width", control.width},
                {"textWidth", control.textWidth}};
    }
    QVariantMap operator()(const FieldControl& control) const
    {
        return {{"text", text(control.text)}, {"placeholder", text(control.placeholder)}};
    }
    QVariantMap operator()(const FolderControl& control) const
    {
        return {{"path", text(control.path)}, {"choose", one("choose", control.choose)}};
    }
    QVariantMap operator()(const ButtonControl& control) const
    {
        return {{"command", one("command", control.command)}};
    }
    QVariantMap operator()(const PermissionControl& control) const
    {
        return {{"granted", control.granted},
                {"symbol", text(control.symbol)},
                {"state", text(control.state)},
                {"reason", text(control.reason)},
                {"open", list("open", control.open ? std::vector<Command>{*control.open}
                                                   : std::vector<Command>())}};
    }
    QVariantMap operator()(const EngineControl& control) const
    {
        QVariantList tags;
        for (const auto& tag : control.tags) {
            tags.append(text(tag));
        }
        return {{"sizeLabel", text(control.sizeLabel)},
                {"badge", text(control.badge)},
                {"summary", text(control.summary)},
                {"description",
                 text(control.summary + (control.summary.empty() ? "" : "\n") + control.help)},
                {"tags", tags},
                {"selected", control.selected},
                {"select", one("select", control.select)},
                {"downloading", control.progress.has_value()},
                {"progress", control.progress.value_or(0)},
                {"percentage", text(control.percentage)},
                {"commands", list("commands", control.commands)},
                {"size", text(control.size)},
                {"menuButton", one("menuButton", control.menuButton)},
                {"menu", list("menu", control.menu)},
                {"contextMenu", list("contextMenu", control.contextMenu)},
                {"help", text(control.help)}};
    }
    QVariantMap operator()(const AboutControl& control) const
    {
        return {{"icon", text(control.icon)},
                {"version", text(control.version)},
                {"sentence", text(control.sentence)},
                {"developedBy", text(control.developedBy)},
                {"maker", one("maker", control.maker)}};
    }
};

FormRowBridge::FormRowBridge(const FormRow& row, QObject* parent) : QObject(parent)
{
    take(row);
}

bool FormRowBridge::isSame(const FormRow& other) const
{
    return row.id == other.id && row.control.index() == other.control.index();
}

void FormRowBridge::show(const FormRow& next)
{
    const bool differs = next != row;
    take(next); // also when it looks the same: its actions may be others
    if (differs) {
        Q_EMIT changed();
    }
}

void FormRowBridge::take(const FormRow& next)
{
    row = next;
    members = std::visit(Members{*this}, row.control);
}

QUrl FormRowBridge::view() const
{
    const auto* picker = std::get_if<PickerControl>(&row.control);
    const char* name = picker != nullptr ? pickerViews.at(static_cast<std::size_t>(picker->style))
                                         : views.at(row.control.index());
    return QStringLiteral("qrc:/qt/qml/Vorlin/qml/settings/%1.qml").arg(name);
}

bool FormRowBridge::fillsRow() const
{
    return row.label.empty() || std::holds_alternative<PermissionControl>(row.control) ||
           std::holds_alternative<EngineControl>(row.control) ||
           std::holds_alternative<AboutControl>(row.control);
}

bool FormRowBridge::readsLabel() const
{
    return std::holds_alternative<TextControl>(row.control) ||
           std::holds_alternative<FolderControl>(row.control);
}

template <class Control, class Use>
void FormRowBridge::act(Use use)
{
    const QPointer<FormRowBridge> self(this); // the action may take the row away
    const FormRow::Control kept = row.control;
    if (const auto* control = std::get_if<Control>(&kept)) {
        use(*control);
    }
    if (self) {
        Q_EMIT changed();
    }
}

void FormRowBridge::choose(int index)
{
    act<PickerControl>([index](const auto& picker) {
        if (index >= 0 && index < static_cast<int>(picker.choices.size())) {
            picker.choose(static_cast<std::size_t>(index));
        }
    });
}

void FormRowBridge::toggle(bool on)
{
    act<ToggleControl>([on](const auto& control) { control.set(on); });
}

void FormRowBridge::slide(double value)
{
    act<SliderControl>([value](const auto& control) { control.set(value); });
}

void FormRowBridge::edit(const QString& entered)
{
    act<FieldControl>([&](const auto& control) { control.edit(entered.toStdString()); });
}

void FormRowBridge::click()
{
    act<HotkeyControl>([](const auto& control) { control.click(); });
}

void FormRowBridge::leave()
{
    act<HotkeyControl>([](const auto& control) { control.leave(); });
}

} // namespace vorlin
