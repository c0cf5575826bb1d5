import QtQuick
import Vorlin

// How far something has got: 0 to 1.
Rectangle {
    id: meter

    property real value: 0

    implicitWidth: 90
    implicitHeight: 6
    radius: 3
    color: Theme.track
    Accessible.role: Accessible.ProgressBar

    Rectangle {
        width: Math.max(parent.height, parent.width * Math.min(1, meter.value))
        height: parent.height
        radius: parent.radius
        color: Theme.accent

        Behavior on width {
            NumberAnimation {
                duration: Theme.motion
            }
        }
    }
}
