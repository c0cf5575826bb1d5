#pragma once

#include "Platform/Linux/Tray/BusMenu.h"

#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

#include <functional>

namespace vorlin {

class StatusNotifierInterface;

/// The item in panels that take items over the session bus: org.kde.StatusNotifierItem, which the
/// watcher of the desktop is told of as often as one comes, and once more where it refuses at
/// first. Main loop; waits for nothing.
class StatusNotifier final : public QObject {
    Q_OBJECT

public:
    static constexpr const char* path = "/StatusNotifierItem";

    struct Callbacks {
        std::function<void(const std::string& id)> chosen;
        std::function<void()> activated;
        /// `isShown` may have changed.
        std::function<void()> changed;
    };

    explicit StatusNotifier(Callbacks callbacks);
    ~StatusNotifier() override;

    void show(const StatusContent& content);

    /// Whether a panel has been told and is there.
    bool isShown() const { return isRegistered && hasHost; }

private Q_SLOTS:
    void askForHost();

private:
    friend class StatusNotifierInterface;

    void introduce();
    void registerItem(bool again);
    void note(bool registered, bool host);

    Callbacks callbacks;
    BusMenu menu;
    StatusContent content;
    QDBusServiceWatcher watch;
    bool isIntroduced = false;
    bool isRegistered = false;
    bool hasHost = false;
    /// Which introduction an answer belongs to.
    int introduction = 0;
    QTimer secondTry;
    QObject object;
    StatusNotifierInterface* interface;
};

} // namespace vorlin
