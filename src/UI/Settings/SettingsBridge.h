#pragma once

#include "Settings/SettingsScene.h"
#include "UI/Settings/FormBridge.h"

#include <QColor>
#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <array>
#include <optional>

namespace vorlin {

/// Shows the settings to the window's view. Main loop.
class SettingsBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    /// Each with `text` and `symbol`.
    Q_PROPERTY(QVariantList tabs READ tabs CONSTANT)
    /// The index of the tab that is shown.
    Q_PROPERTY(int tab READ tab WRITE setTab NOTIFY tabChanged)
    /// Its form.
    Q_PROPERTY(vorlin::FormBridge* form READ form NOTIFY tabChanged)

    Q_PROPERTY(bool adding READ adding NOTIFY sheetChanged)
    Q_PROPERTY(vorlin::FormBridge* sheet READ sheet CONSTANT)
    Q_PROPERTY(vorlin::CommandBridge* cancel READ cancel CONSTANT)
    Q_PROPERTY(vorlin::CommandBridge* confirm READ confirm CONSTANT)

    Q_PROPERTY(bool dark READ dark NOTIFY appearanceChanged)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY appearanceChanged)
    /// What is selected, switched on or in use.
    Q_PROPERTY(QColor accent READ accent NOTIFY appearanceChanged)

public:
    /// Both must outlive this object.
    SettingsBridge(SettingsView& view, SettingsScene& scene);

    /// How the person has set up the desktop. Without an accent it is the palette's.
    void setAppearance(bool dark, bool reducedMotion, const std::optional<QColor>& accent = {});

    static QVariantList tabs();
    int tab() const { return static_cast<int>(scene.tab.get()); }
    void setTab(int index);
    FormBridge* form();

    bool adding() const { return view.models.sheet.adding.get(); }
    FormBridge* sheet();
    CommandBridge* cancel() { return &cancelCommand; }
    CommandBridge* confirm() { return &confirmCommand; }

    bool dark() const { return darkDesktop; }
    bool reducedMotion() const { return withoutMotion; }
    QColor accent() const;

    /// The sheet was closed by the person.
    Q_INVOKABLE void dismiss() { view.models.sheet.dismiss(); }

    /// Follows the palette that Qt has from the desktop.
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void tabChanged();
    void sheetChanged();
    void appearanceChanged();

private:
    SettingsView& view;
    SettingsScene& scene;
    std::array<FormBridge*, settingsTabs.size()> forms = {};
    FormBridge* sheetForm = nullptr;
    CommandBridge cancelCommand;
    CommandBridge confirmCommand;
    bool darkDesktop = false;
    bool withoutMotion = false;
    std::optional<QColor> chosenAccent;
    std::vector<Subscription> changes;
};

} // namespace vorlin
