#pragma once

#include "Platform/Linux/Tray/TrayTypes.h"

#include <QObject>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vorlin {

class BusMenuInterface;

/// A menu on the session bus, for a panel to show: com.canonical.dbusmenu. Main loop.
class BusMenu {
public:
    static constexpr const char* path = "/MenuBar";

    /// `chosen` is called from the loop with the id of an action that a person clicked.
    explicit BusMenu(std::function<void(const std::string& id)> chosen);
    BusMenu(const BusMenu&) = delete;
    BusMenu& operator=(const BusMenu&) = delete;
    ~BusMenu();

    void show(const std::vector<MenuItem>& items);

    /// What is registered at `path`.
    QObject& busObject() { return object; }

private:
    friend class BusMenuInterface;

    MenuLayout layout(int parent, int depth) const;
    QVariantMap properties(int id) const;
    bool has(int id) const;
    void event(int id, const QString& name);

    std::function<void(const std::string& id)> chosen;
    std::vector<MenuItem> items;
    /// The numbers of the entries as they stand.
    std::vector<int> numbers;
    /// The number of each action there ever was: a late click on an older menu still hits it.
    std::map<std::string, int> actions;
    uint revision = 1;
    int nextNumber = 1;
    QObject object;
    BusMenuInterface* interface;
};

} // namespace vorlin
