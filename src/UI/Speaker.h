#pragma once

#include "UI/Announcer.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vorlin {

/// Lets a view say to a screen reader what the focus does not tell it. Main thread.
class Speaker final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// As `Announcer::announce`.
    Q_INVOKABLE void say(const QString& text) { announcer.announce(text); }

private:
    Announcer announcer;
};

} // namespace vorlin
