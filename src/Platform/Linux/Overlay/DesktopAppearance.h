#pragma once

#include "Platform/Linux/Environment.h"

#include <QColor>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace vorlin {

/// How the person has set up the desktop's look: from the settings portal where one runs, else
/// from GTK's settings, else from the colours that Qt was given. Main thread; create it after the
/// Qt application.
class DesktopAppearance final : public QObject {
    Q_OBJECT

public:
    explicit DesktopAppearance(const Environment& environment);

    bool isDark() const;
    bool hasReducedMotion() const;
    /// What the person has what is selected drawn in; nothing where no portal tells of a choice.
    std::optional<QColor> accent() const { return portalAccent; }

Q_SIGNALS:
    /// An answer may have changed.
    void changed();

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void readGtkSettings(const Environment& environment);
    void askPortal();
    void takePortal(const QString& group, const QString& key, const QVariant& value);

    /// How often the portal told of a change.
    int changes = 0;
    std::optional<bool> portalDark;
    std::optional<bool> portalReducedMotion;
    std::optional<QColor> portalAccent;
    std::optional<bool> gtkDark;
    std::optional<bool> gtkReducedMotion;
};

} // namespace vorlin
