#include "UI/SettingsWindowFixture.h"

#include <QAccessible>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointingDevice>

#include <algorithm>

namespace vorlin {

namespace {

/// Every accessible below `parent` that is shown, with it.
void collect(QAccessibleInterface* parent, std::vector<QAccessibleInterface*>& found)
{
    if (parent == nullptr || parent->state().invisible) {
        return;
    }
    found.push_back(parent);
    for (int i = 0; i < parent->childCount(); ++i) {
        collect(parent->child(i), found);
    }
}

bool isShown(const QQuickItem* item)
{
    return item != nullptr && item->isVisible() && item->width() > 0 && item->height() > 0;
}

} // namespace

SettingsWindowFixture::SettingsWindowFixture()
{
    QAccessible::setActive(true);
    if (const QString font = "DejaVu Sans"; QFontDatabase::hasFamily(font)) {
        QGuiApplication::setFont(QFont(font, 10)); // the one of the pictures
    }
    desktop.wording = &linuxWording();
    desktop.folders.root = "/models";
}

void SettingsWindowFixture::open(SettingsTab tab)
{
    if (!model) {
        model = std::make_unique<AppModel>(desktop.ports());
        scene = std::make_unique<SettingsScene>(desktop.ports());
        desktop.loop.runReady();
    }
    view = std::make_unique<SettingsView>(*model, desktop.ports(), build);
    scene->showTab(tab);
    window = std::make_unique<SettingsWindow>(*view, *scene);
    window->setAppearance(false, true);
    window->show();
    auto& shown = window->quickWindow();
    shown.requestActivate();
    while (!shown.isActive() || !shown.isExposed()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    settle();
}

void SettingsWindowFixture::settle()
{
    desktop.loop.runReady();
    for (int i = 0; i < 2; ++i) { // what is shown later is asked for by what is shown first
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        awaitFrame();
    }
}

/// Items get their places and sizes when they are drawn.
void SettingsWindowFixture::awaitFrame()
{
    if (!window || !window->quickWindow().isExposed()) {
        return;
    }
    bool isDrawn = false;
    const auto drawn = QObject::connect(&window->quickWindow(), &QQuickWindow::frameSwapped,
                                        [&isDrawn] { isDrawn = true; });
    window->quickWindow().update();
    while (!isDrawn && window->quickWindow().isExposed()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QObject::disconnect(drawn);
}

std::vector<QQuickItem*> SettingsWindowFixture::controls()
{
    std::vector<QAccessibleInterface*> found;
    collect(QAccessible::queryAccessibleInterface(&window->quickWindow()), found);
    std::vector<QQuickItem*> items;
    for (auto* each : found) {
        auto* item = qobject_cast<QQuickItem*>(each->object());
        if (isShown(item)) {
            items.push_back(item);
        }
    }
    return items;
}

bool SettingsWindowFixture::has(const std::string& name)
{
    const auto all = controls();
    return std::ranges::any_of(all, [&](auto* each) { return accessibleName(each) == name; });
}

QQuickItem* SettingsWindowFixture::control(const std::string& name)
{
    auto all = controls();
    std::erase_if(all, [&](auto* each) { return accessibleName(each) != name; });
    if (all.empty()) {
        throw std::runtime_error("there is no control " + name);
    }
    // A dialog may be called as its button is.
    const auto found = std::ranges::find_if(all, [](auto* each) {
        return each->property("focusPolicy").toInt() != Qt::NoFocus || each->activeFocusOnTab();
    });
    return found == all.end() ? all.front() : *found;
}

std::string SettingsWindowFixture::focused()
{
    auto* item = window->quickWindow().activeFocusItem();
    return item == nullptr ? "" : accessibleName(item);
}

void SettingsWindowFixture::focus(const std::string& name)
{
    control(name)->forceActiveFocus(Qt::TabFocusReason);
    settle();
}

void SettingsWindowFixture::press(int key, Qt::KeyboardModifiers modifiers)
{
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QCoreApplication::sendEvent(&window->quickWindow(), &event);
    }
    settle();
}

void SettingsWindowFixture::hold(int key)
{
    const auto send = [this, key](QEvent::Type type, bool repeats) {
        QKeyEvent event(type, key, Qt::NoModifier, {}, repeats);
        QCoreApplication::sendEvent(&window->quickWindow(), &event);
    };
    send(QEvent::KeyPress, false);
    send(QEvent::KeyPress, true);
    send(QEvent::KeyRelease, false);
    settle();
}

void SettingsWindowFixture::type(const std::string& text)
{
    for (const char each : text) {
        QKeyEvent event(QEvent::KeyPress, 0, Qt::NoModifier, QString(QChar(each)));
        QCoreApplication::sendEvent(&window->quickWindow(), &event);
    }
    settle();
}

void SettingsWindowFixture::click(const std::string& name, Qt::MouseButton button)
{
    click(name, button, {QEvent::MouseButtonPress, QEvent::MouseButtonRelease});
}

void SettingsWindowFixture::doubleClick(const std::string& name)
{
    click(name, Qt::LeftButton,
          {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonPress,
           QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease});
}

void SettingsWindowFixture::click(const std::string& name, Qt::MouseButton button,
                                  std::initializer_list<QEvent::Type> events)
{
    auto* item = control(name);
    item->forceActiveFocus(Qt::MouseFocusReason); // scrolls to it
    settle();
    const QPointF at = item->mapToScene({item->width() / 2, item->height() / 2});
    for (const auto type : events) {
        QMouseEvent event(type, at, at, window->quickWindow().mapToGlobal(at), button,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : button,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&window->quickWindow(), &event);
    }
    settle();
}

void SettingsWindowFixture::pointAt(const std::string& name)
{
    const auto* item = control(name);
    const QPointF at = item->mapToScene({item->width() / 2, item->height() / 2});
    QMouseEvent event(QEvent::MouseMove, at, at, window->quickWindow().mapToGlobal(at),
                      Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window->quickWindow(), &event);
    settle();
}

QImage SettingsWindowFixture::picture()
{
    settle();
    return window->quickWindow().grabWindow().convertToFormat(QImage::Format_RGB32);
}

std::string accessibleName(QObject* item)
{
    auto* interface = QAccessible::queryAccessibleInterface(item);
    return interface == nullptr ? "" : interface->text(QAccessible::Name).toStdString();
}

QAccessible::Role accessibleRole(QObject* item)
{
    auto* interface = QAccessible::queryAccessibleInterface(item);
    return interface == nullptr ? QAccessible::NoRole : interface->role();
}

} // namespace vorlin
