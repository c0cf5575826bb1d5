#pragma once

#include "Settings/Form.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <cstddef>
#include <vector>

namespace vorlin {

/// Shows a button or an entry of a menu to its view, and presses it. Main loop.
class CommandBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString help READ help NOTIFY changed)
    Q_PROPERTY(bool enabled READ enabled NOTIFY changed)
    Q_PROPERTY(bool destructive READ destructive NOTIFY changed)
    Q_PROPERTY(bool hasAction READ hasAction NOTIFY changed)
    Q_PROPERTY(bool beginsGroup READ beginsGroup NOTIFY changed)

public:
    explicit CommandBridge(QObject* parent) : QObject(parent) {}

    /// Shows `next` from now on; `first` when it is the first of a group of a menu, but not of the
    /// menu.
    void show(const Command& next, bool first = false);

    QString text() const { return QString::fromStdString(command.text); }
    QString symbol() const { return QString::fromStdString(command.symbol); }
    QString help() const { return QString::fromStdString(command.help); }
    bool enabled() const { return command.enabled; }
    bool destructive() const { return command.destructive; }
    bool hasAction() const { return static_cast<bool>(command.press); }
    bool beginsGroup() const { return startsGroup; }

    Q_INVOKABLE void press() const;

Q_SIGNALS:
    void changed();

private:
    Command command;
    bool startsGroup = false;
};

/// Several of them. One that stays at its place is the same object, so that a view keeps the focus
/// on it. Main loop.
class CommandList {
public:
    /// `owner` owns the commands.
    explicit CommandList(QObject* owner) : owner(owner) {}

    void show(const std::vector<Command>& commands) { show(CommandMenu{commands}); }
    void show(const CommandMenu& groups);

    /// The commands as a view takes them.
    QVariantList list() const;

private:
    CommandBridge* at(std::size_t index);

    QObject* owner;
    /// Those that are not shown any more stay: a view may still show one until the loop goes on.
    std::vector<CommandBridge*> bridges;
    std::size_t count = 0;
};

} // namespace vorlin
