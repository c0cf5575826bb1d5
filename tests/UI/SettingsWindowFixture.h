#pragma once

#include "AppModel.h"
#include "Settings/SettingsScene.h"
#include "UI/Settings/SettingsWindow.h"
#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QEvent>
#include <QImage>
#include <QQuickItem>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// The settings window over a whole desktop that the test plays.
class SettingsWindowFixture : public testing::Test {
protected:
    SettingsWindowFixture();

    /// Opens the window on a tab, with the keyboard's focus.
    void open(SettingsTab tab = SettingsTab::general);
    void close() { window.reset(); }

    /// Lets the core and the view do what is due.
    void settle();

    /// The control that a screen reader calls so, anywhere in the window; fails the test where
    /// there is none that is shown.
    QQuickItem* control(const std::string& name);
    /// Whether there is one.
    bool has(const std::string& name);
    /// Every control that is shown, in the order of the scene.
    std::vector<QQuickItem*> controls();

    /// What the keyboard acts on, as a screen reader calls it; empty for nothing.
    std::string focused();
    /// Gives the keyboard's focus to a control.
    void focus(const std::string& name);
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Until the key has repeated itself once.
    void hold(int key);
    void type(const std::string& text);
    void click(const std::string& name, Qt::MouseButton button = Qt::LeftButton);
    /// As the system tells it of somebody very quick.
    void doubleClick(const std::string& name);
    /// Moves the pointer over a control.
    void pointAt(const std::string& name);

    /// The window as it looks now.
    QImage picture();

    FakePorts desktop;
    BuildFacts build{"0.1.0", "The Vorlin makers", ""};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<SettingsScene> scene;
    std::unique_ptr<SettingsView> view;
    std::unique_ptr<SettingsWindow> window;

private:
    void awaitFrame();
    void click(const std::string& name, Qt::MouseButton button,
               std::initializer_list<QEvent::Type> events);
};

/// How a screen reader calls an item, and its role; empty and `NoRole` where it is told nothing.
std::string accessibleName(QObject* item);
QAccessible::Role accessibleRole(QObject* item);

} // namespace vorlin
