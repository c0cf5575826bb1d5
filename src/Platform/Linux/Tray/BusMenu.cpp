#include "Platform/Linux/Tray/BusMenu.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>

#include <algorithm>
#include <utility>

namespace vorlin {

/// com.canonical.dbusmenu; the names of its members are the interface's.
class BusMenuInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    explicit BusMenuInterface(BusMenu& menu) : QDBusAbstractAdaptor(&menu.object), menu(menu) {}

    static uint version() { return 3; }
    static QString textDirection() { return "ltr"; }
    static QString status() { return "normal"; }
    static QStringList iconThemePath() { return {}; }

public Q_SLOTS:
    // NOLINTBEGIN(readability-identifier-naming)
    uint GetLayout(int parentId, int recursionDepth, const QStringList& /*propertyNames*/,
                   vorlin::MenuLayout& layout) const
    {
        layout = menu.layout(parentId, recursionDepth);
        return menu.revision;
    }
    vorlin::MenuPropertiesList GetGroupProperties(const QList<int>& ids,
                                                  const QStringList& /*propertyNames*/) const
    {
        MenuPropertiesList result;
        for (const int id :
             ids.isEmpty() ? QList<int>(menu.numbers.begin(), menu.numbers.end()) : ids) {
            if (menu.has(id)) {
                result.push_back({id, menu.properties(id)});
            }
        }
        return result;
    }
    QDBusVariant GetProperty(int id, const QString& name) const
    {
        return QDBusVariant(menu.properties(id).value(name, QString()));
    }
    void Event(int id, const QString& eventId, const QDBusVariant& /*data*/, uint /*timestamp*/)
    {
        menu.event(id, eventId);
    }
    QList<int> EventGroup(const vorlin::MenuEvents& events)
    {
        QList<int> unknown;
        for (const auto& each : events) {
            menu.event(each.id, each.name);
            if (each.id != 0 && !menu.has(each.id)) {
                unknown.push_back(each.id);
            }
        }
        return unknown;
    }
    static bool AboutToShow(int /*id*/) { return false; }
    static QList<int> AboutToShowGroup(const QList<int>& /*ids*/, QList<int>& unknown)
    {
        unknown.clear();
        return {};
    }
    // NOLINTEND(readability-identifier-naming)

Q_SIGNALS:
    // NOLINTBEGIN(readability-identifier-naming)
    void LayoutUpdated(uint revision, int parent);
    // NOLINTEND(readability-identifier-naming)

private:
    BusMenu& menu;
};

BusMenu::BusMenu(std::function<void(const std::string& id)> chosen) : chosen(std::move(chosen))
{
    registerTrayTypes();
    interface = new BusMenuInterface(*this); // `object` owns it
}

BusMenu::~BusMenu() = default;

void BusMenu::show(const std::vector<MenuItem>& next)
{
    if (next == items) {
        return;
    }
    items = next;
    numbers.clear();
    for (const auto& item : items) {
        if (item.kind != MenuItem::Kind::action) {
            numbers.push_back(nextNumber++);
            continue;
        }
        const auto [found, isNew] = actions.try_emplace(item.id, nextNumber);
        nextNumber += isNew ? 1 : 0;
        numbers.push_back(found->second);
    }
    ++revision;
    Q_EMIT interface->LayoutUpdated(revision, 0);
}

bool BusMenu::has(int id) const
{
    return std::ranges::find(numbers, id) != numbers.end();
}

MenuLayout BusMenu::layout(int parent, int depth) const
{
    MenuLayout result{parent, properties(parent), {}};
    if (parent == 0 && depth != 0) {
        for (const int number : numbers) {
            result.children.push_back(
                QDBusVariant(QVariant::fromValue(MenuLayout{number, properties(number), {}})));
        }
    }
    return result;
}

QVariantMap BusMenu::properties(int id) const
{
    if (id == 0) {
        return {{"children-display", "submenu"}};
    }
    const auto found = std::ranges::find(numbers, id);
    if (found == numbers.end()) {
        return {};
    }
    const auto& item = items[static_cast<std::size_t>(found - numbers.begin())];
    if (item.kind == MenuItem::Kind::separator) {
        return {{"type", "separator"}};
    }
    auto label = QString::fromStdString(item.text);
    label.replace('_', "__"); // one alone marks a mnemonic
    QVariantMap result{{"label", label}, {"enabled", item.kind == MenuItem::Kind::action}};
    if (item.shortcut) {
        const auto key = *item.shortcut == ',' ? QString("comma") : QString(QChar(*item.shortcut));
        result["shortcut"] = QVariant::fromValue(MenuShortcuts{{"Control", key}});
    }
    return result;
}

void BusMenu::event(int id, const QString& name)
{
    const auto found =
        std::ranges::find_if(actions, [id](const auto& each) { return each.second == id; });
    if (name == "clicked" && found != actions.end()) {
        // From the loop: the panel has its answer before anything follows from the click.
        QMetaObject::invokeMethod(
            &object, [this, action = found->first] { chosen(action); }, Qt::QueuedConnection);
    }
}

} // namespace vorlin

#include "BusMenu.moc"
