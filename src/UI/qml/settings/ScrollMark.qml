import QtQuick
import QtQuick.Templates as T
import Vorlin

// Where one is in what is longer than its room.
T.ScrollBar {
    id: bar

    padding: 3
    implicitWidth: 12
    focusPolicy: Qt.NoFocus
    visible: size < 1
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: 3
        color: bar.pressed || bar.hovered ? Theme.secondary : Theme.track
    }
}
