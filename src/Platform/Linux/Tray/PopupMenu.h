#pragma once

#include "Ports/StatusItem.h"

#include <QRasterWindow>

#include <functional>
#include <string>
#include <vector>

namespace vorlin {

/// A menu of our own, for trays that only pass clicks on. Works by pointer and keyboard; anything
/// outside it, and Escape, closes it. Main loop; create it after the Qt application.
class PopupMenu final : public QRasterWindow {
public:
    /// `chosen` is called from the loop, after the menu has gone.
    explicit PopupMenu(std::function<void(const std::string& id)> chosen);

    /// What is shown, also in an open menu.
    void setItems(std::vector<MenuItem> items);

    /// Opens it with a corner at `place`, within the screen that holds it.
    void open(const QPoint& place);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;

private:
    void arrange();
    int heightOf(const MenuItem& item) const;
    /// The action at a place of the window; -1 for none.
    int actionAt(const QPoint& place) const;
    void highlight(int row);
    void step(int direction);
    void choose(int row);

    std::function<void(const std::string& id)> chosen;
    std::vector<MenuItem> items;
    int current = -1;
};

} // namespace vorlin
