#pragma once

#include "Platform/Linux/Desktop/InstanceLock.h"
#include "Ports/Application.h"

#include <QObject>

#include <functional>
#include <string>
#include <utility>

namespace vorlin {

/// The program on the session bus, as org.vorlin.Vorlin with org.freedesktop.Application, and a
/// lock file beside it: without a bus, or with two of them, there is still one a display. Create
/// it after the Qt application. A bus that ends later does not matter.
class DBusApplication final : public Application {
public:
    static constexpr const char* serviceName = "org.vorlin.Vorlin";
    static constexpr const char* objectPath = "/org/vorlin/Vorlin";

    explicit DBusApplication(const Environment& environment);
    DBusApplication(const DBusApplication&) = delete;
    DBusApplication& operator=(const DBusApplication&) = delete;
    ~DBusApplication() override;

    /// Waits up to some seconds where the other one is just ending, or does not answer. Without a
    /// bus in common the other one cannot be told; a line on standard error says that it runs.
    bool becomeOnlyInstance(std::function<void()> onActivate) override;

    void quit() override;

    /// Calls `action` with the name of each action that is asked for from now on, whatever it is,
    /// on the main thread. Any program of the session can ask.
    void setOnAction(std::function<void(const std::string& name)> action)
    {
        onAction = std::move(action);
    }

private:
    enum class Claim { ours, theirs, unclear };

    Claim claim();

    InstanceLock lock;
    std::function<void(const std::string&)> onAction;
    QObject object;
};

} // namespace vorlin
