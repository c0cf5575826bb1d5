#pragma once

#include "UI/Settings/CommandBridge.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <map>

namespace vorlin {

/// Shows one row of a form to its view, and takes what the person does there. After every action
/// the view is told what holds, so that it never shows what the core did not take. Main loop.
class FormRowBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    Q_PROPERTY(QString label READ label NOTIFY changed)
    Q_PROPERTY(QString caption READ caption NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    /// The file that draws the control.
    Q_PROPERTY(QUrl view READ view CONSTANT)
    /// The control shows the row's label itself, or there is none.
    Q_PROPERTY(bool fillsRow READ fillsRow NOTIFY changed)
    /// The label is no control's name: a screen reader reads it as a text of its own.
    Q_PROPERTY(bool readsLabel READ readsLabel CONSTANT)
    /// The control's members by name; commands are `CommandBridge`s, or lists of them.
    Q_PROPERTY(QVariant control READ control NOTIFY changed)
    /// A picker's choices, each with `label` and `note`.
    Q_PROPERTY(QVariantList choices READ choices NOTIFY choicesChanged)

public:
    FormRowBridge(const FormRow& row, QObject* parent);

    /// Whether `row` is this one, perhaps changed.
    bool isSame(const FormRow& other) const;
    void show(const FormRow& next);

    QString label() const { return QString::fromStdString(row.label); }
    QString caption() const { return QString::fromStdString(row.caption); }
    QString problem() const { return QString::fromStdString(row.problem); }
    QUrl view() const;
    bool fillsRow() const;
    bool readsLabel() const;
    QVariant control() const { return members; }
    QVariantList choices() const { return pickerChoices; }

    /// Selects the choice at `index`.
    Q_INVOKABLE void choose(int index);
    /// Turns a toggle on or off.
    Q_INVOKABLE void toggle(bool on);
    /// Moves a slider.
    Q_INVOKABLE void slide(double value);
    /// Enters the whole text of a field.
    Q_INVOKABLE void edit(const QString& text);
    /// Clicks the dictation key's button.
    Q_INVOKABLE void click();
    /// Tells that the focus left it.
    Q_INVOKABLE void leave();

Q_SIGNALS:
    void changed();
    void choicesChanged();

private:
    struct Members;

    void take(const FormRow& next);
    template <class Control, class Use>
    void act(Use use);

    FormRow row;
    QVariantMap members;
    QVariantList pickerChoices;
    std::map<QString, CommandList> commands;
};

} // namespace vorlin
