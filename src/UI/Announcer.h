#pragma once

#include <QObject>
#include <QString>

#include <deque>
#include <memory>

namespace vorlin {

/// One thing that a screen reader should say.
class Announcement final : public QObject {
    Q_OBJECT

public:
    explicit Announcement(QString text) : text(std::move(text)) {}

    const QString text;
};

/// Tells a screen reader what it should say, without moving the focus: it is announced by
/// notifications without a window, whose names are the texts, or, where Qt knows no announcements
/// (before 6.8), these are shown to it. Main thread, after the Qt application.
class Announcer final {
public:
    Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /// Says `text`, also when it said the same before; an empty text says nothing.
    void announce(const QString& text);

private:
    /// The latest ones: a screen reader asks for the name a moment after it is told.
    std::deque<std::unique_ptr<Announcement>> latest;
};

} // namespace vorlin
