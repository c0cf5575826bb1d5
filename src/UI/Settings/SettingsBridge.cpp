#include "UI/Settings/SettingsBridge.h"

#include "UI/PaletteAccent.h"

#include <QCoreApplication>
#include <QEvent>

namespace vorlin {

namespace {

QString toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

SettingsBridge::SettingsBridge(SettingsView& view, SettingsScene& scene)
    : view(view), scene(scene), cancelCommand(this), confirmCommand(this)
{
    changes.push_back(scene.tab.observe([this](SettingsTab) { Q_EMIT tabChanged(); }));
    const auto& sheet = view.models.sheet;
    changes.push_back(sheet.adding.observe([this](bool) { Q_EMIT sheetChanged(); }));
    changes.push_back(
        sheet.cancel.observe([this](const Command& next) { cancelCommand.show(next); }));
    changes.push_back(
        sheet.confirm.observe([this](const Command& next) { confirmCommand.show(next); }));
    cancelCommand.show(sheet.cancel.get());
    confirmCommand.show(sheet.confirm.get());
    QCoreApplication::instance()->installEventFilter(this);
}

void SettingsBridge::setAppearance(bool dark, bool reducedMotion,
                                   const std::optional<QColor>& accent)
{
    if (dark != darkDesktop || reducedMotion != withoutMotion || accent != chosenAccent) {
        darkDesktop = dark;
        withoutMotion = reducedMotion;
        chosenAccent = accent;
        Q_EMIT appearanceChanged();
    }
}

QVariantList SettingsBridge::tabs()
{
    QVariantList result;
    for (const auto& label : settingsTabs) {
        result.append(
            QVariantMap{{"text", toQString(label.text)}, {"symbol", toQString(label.symbol)}});
    }
    return result;
}

void SettingsBridge::setTab(int index)
{
    if (index >= 0 && index < static_cast<int>(settingsTabs.size())) {
        scene.showTab(settingsTabs.at(static_cast<std::size_t>(index)).tab);
    }
}

FormBridge* SettingsBridge::form()
{
    const auto index = static_cast<std::size_t>(scene.tab.get());
    auto*& made = forms.at(index);
    if (made == nullptr) {
        made = new FormBridge(view.tab(settingsTabs.at(index).tab), this);
        announceTroubles(*made);
    }
    return made;
}

FormBridge* SettingsBridge::sheet()
{
    if (sheetForm == nullptr) {
        sheetForm = new FormBridge(view.models.sheet, this);
        announceTroubles(*sheetForm);
    }
    return sheetForm;
}

void SettingsBridge::announceTroubles(const FormBridge& form)
{
    connect(&form, &FormBridge::troubled, this, [this, &form](int, int, const QString& problem) {
        const bool isShown = adding()
                                 ? &form == sheetForm
                                 : &form == forms.at(static_cast<std::size_t>(scene.tab.get()));
        if (isShown) {
            announcer.announce(problem);
        }
    });
}

QColor SettingsBridge::accent() const
{
    return chosenAccent ? *chosenAccent : paletteAccent();
}

bool SettingsBridge::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange &&
        watched == QCoreApplication::instance()) {
        Q_EMIT appearanceChanged();
    }
    return false;
}

} // namespace vorlin
