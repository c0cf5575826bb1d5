import QtQuick
import QtQuick.Templates as T
import Vorlin

// A short help text under the item that it belongs to.
T.ToolTip {
    id: hint

    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? parent.height + 6 : 0
    margins: 6
    padding: 6
    leftPadding: 9
    rightPadding: 9
    delay: 600
    implicitWidth: Math.min(320, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    contentItem: Label {
        text: hint.text
        caption: true
        color: Theme.dark ? "#f4f4f6" : "#ffffff"
    }
    background: Rectangle {
        radius: 6
        color: Theme.dark ? "#4a4a52" : "#e6303036"
    }
}
