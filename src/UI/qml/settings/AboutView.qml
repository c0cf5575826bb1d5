import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorlin

// What the program is, and who made it.
ColumnLayout {
    id: about

    required property FormRowBridge row
    readonly property CommandBridge maker: row.control.maker

    spacing: 6

    Symbol {
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 14
        Layout.preferredWidth: 88
        Layout.preferredHeight: 88
        name: about.row.control.icon
        tinted: false
        Accessible.role: Accessible.Graphic
        Accessible.name: about.row.label
    }
    Label {
        Layout.fillWidth: true
        Layout.topMargin: 8
        horizontalAlignment: Text.AlignHCenter
        text: about.row.label
        font.pixelSize: Theme.titleSize
        font.weight: Font.Bold
    }
    Label {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: about.row.control.version
        secondary: true
    }
    Label {
        Layout.alignment: Qt.AlignHCenter
        Layout.fillWidth: true
        Layout.maximumWidth: 340
        Layout.topMargin: 12
        Layout.bottomMargin: 12
        horizontalAlignment: Text.AlignHCenter
        text: about.row.control.sentence
    }
    Row {
        Layout.alignment: Qt.AlignHCenter
        Layout.bottomMargin: 14
        spacing: 4
        visible: about.maker.text !== ""

        Label {
            text: about.row.control.developedBy
            secondary: true
        }
        Label {
            visible: !about.maker.hasAction
            text: about.maker.text
            secondary: true
        }
        T.AbstractButton {
            id: link

            visible: about.maker.hasAction
            text: about.maker.text
            implicitWidth: implicitContentWidth
            implicitHeight: implicitContentHeight
            onClicked: about.maker.press()
            Keys.onReturnPressed: event => clickOnce(event)
            Keys.onEnterPressed: event => clickOnce(event)

            function clickOnce(event: KeyEvent) {
                if (!event.isAutoRepeat) {
                    clicked();
                }
            }

            Accessible.role: Accessible.Link
            Accessible.name: text
            Accessible.description: about.maker.help
            Accessible.onPressAction: link.clicked()

            contentItem: Label {
                text: link.text
                color: Theme.link
                font.underline: link.hovered || link.visualFocus
                Accessible.ignored: true
            }
            background: Item {
                FocusRing {
                    shown: link.visualFocus
                    radius: 5
                }
            }
        }
    }
}
