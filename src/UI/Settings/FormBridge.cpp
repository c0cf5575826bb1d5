#include "UI/Settings/FormBridge.h"

#include <algorithm>
#include <utility>

namespace vorlin {

void FormRowList::remove(int first, int count)
{
    if (count == 0) {
        return;
    }
    beginRemoveRows({}, first, first + count - 1);
    const auto gone = rows.mid(first, count);
    rows.remove(first, count);
    endRemoveRows();
    for (auto* row : gone) {
        row->deleteLater(); // the person may be acting on it
    }
}

void FormRowList::show(const std::vector<FormRow>& next)
{
    int place = 0;
    for (const auto& wanted : next) {
        const auto found = std::find_if(rows.begin() + place, rows.end(),
                                        [&](const auto* each) { return each->isSame(wanted); });
        if (found == rows.end()) {
            beginInsertRows({}, place, place);
            rows.insert(place, new FormRowBridge(wanted, this));
            endInsertRows();
        } else {
            remove(place, static_cast<int>(found - rows.begin()) - place);
            rows[place]->show(wanted);
        }
        ++place;
    }
    remove(place, static_cast<int>(rows.size()) - place);
}

int FormRowList::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

QVariant FormRowList::data(const QModelIndex& index, int role) const
{
    return role == Qt::UserRole ? QVariant::fromValue(rows.value(index.row())) : QVariant();
}

FormSectionBridge::FormSectionBridge(QObject* parent)
    : QObject(parent), commandList(this), rowList(this)
{
}

void FormSectionBridge::show(const FormSection& next)
{
    headerText = QString::fromStdString(next.header);
    footerText = QString::fromStdString(next.footer);
    Q_EMIT changed();
    const auto before = commandList.list();
    commandList.show(next.commands);
    if (commandList.list() != before) {
        Q_EMIT commandsChanged();
    }
    rowList.show(next.rows);
}

FormBridge::FormBridge(const FormModel& model, QObject* parent) : QObject(parent)
{
    show(model.form.get());
    changes = model.form.observe([this](const Form& form) { show(form); });
}

void FormBridge::show(const Form& form)
{
    const auto count = static_cast<qsizetype>(form.size());
    const bool differs = count != parts.size();
    while (parts.size() < count) {
        parts.append(new FormSectionBridge(this));
    }
    while (parts.size() > count) {
        parts.takeLast()->deleteLater();
    }
    for (qsizetype i = 0; i < count; ++i) {
        parts[i]->show(form[static_cast<std::size_t>(i)]);
    }
    if (differs) {
        Q_EMIT sectionsChanged();
    }
    tellTroubles(form);
}

void FormBridge::tellTroubles(const Form& form)
{
    const auto before = std::exchange(problems, {});
    for (const auto& section : form) {
        for (const auto& row : section.rows) {
            problems[row.id] = row.problem;
        }
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        for (std::size_t j = 0; j < form[i].rows.size(); ++j) {
            const auto& row = form[i].rows[j];
            const auto known = before.find(row.id);
            if (!row.problem.empty() && (known == before.end() || known->second != row.problem)) {
                Q_EMIT troubled(static_cast<int>(i), static_cast<int>(j),
                                QString::fromStdString(row.problem));
            }
        }
    }
}

QVariantList FormBridge::sections() const
{
    QVariantList result;
    for (auto* part : parts) {
        result.append(QVariant::fromValue(part));
    }
    return result;
}

} // namespace vorlin
