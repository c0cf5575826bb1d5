#pragma once

#include "UI/Settings/FormRowBridge.h"

#include <QAbstractListModel>
#include <QList>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <map>
#include <string>
#include <vector>

namespace vorlin {

/// The rows of a section as a list of one role, `row`. A row that stays is the same object,
/// whatever comes and goes around it. Main loop.
class FormRowList final : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

public:
    explicit FormRowList(QObject* parent) : QAbstractListModel(parent) {}

    void show(const std::vector<FormRow>& next);

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return {{Qt::UserRole, "row"}}; }

private:
    void remove(int first, int count);

    QList<FormRowBridge*> rows;
};

/// Shows a section of a form to its view. Main loop.
class FormSectionBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    Q_PROPERTY(QString header READ header NOTIFY changed)
    Q_PROPERTY(QString footer READ footer NOTIFY changed)
    Q_PROPERTY(QVariantList commands READ commands NOTIFY commandsChanged)
    Q_PROPERTY(QAbstractListModel* rows READ rows CONSTANT)

public:
    explicit FormSectionBridge(QObject* parent);

    void show(const FormSection& next);

    QString header() const { return headerText; }
    QString footer() const { return footerText; }
    QVariantList commands() const { return commandList.list(); }
    QAbstractListModel* rows() { return &rowList; }

Q_SIGNALS:
    void changed();
    void commandsChanged();

private:
    QString headerText;
    QString footerText;
    CommandList commandList;
    FormRowList rowList;
};

/// Shows a form to its view, and follows it. Main loop.
class FormBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    /// `FormSectionBridge`s, top to bottom.
    Q_PROPERTY(QVariantList sections READ sections NOTIFY sectionsChanged)

public:
    /// `model` must outlive this object.
    FormBridge(const FormModel& model, QObject* parent);

    QVariantList sections() const;

Q_SIGNALS:
    void sectionsChanged();
    /// Something went wrong: `problem` stands from now on in this row of this section.
    void troubled(int section, int row, const QString& problem);

private:
    void show(const Form& form);
    void tellTroubles(const Form& form);

    QList<FormSectionBridge*> parts;
    /// What was wrong last, by the rows' ids.
    std::map<std::string, std::string> problems;
    Subscription changes;
};

} // namespace vorlin
