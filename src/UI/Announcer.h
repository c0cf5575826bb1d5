#pragma once

#include <QObject>
#include <QString>

namespace vorlin {

/// Tells a screen reader what it should say, without moving the focus: a notification without a
/// window, whose name is the text, is shown to it. Main thread, after the Qt application.
class Announcer final : public QObject {
    Q_OBJECT

public:
    Announcer();
    ~Announcer() override;

    /// Says `text`, also when it said the same before; an empty text says nothing.
    void announce(const QString& text);

    const QString& text() const { return announced; }

private:
    QString announced;
};

} // namespace vorlin
