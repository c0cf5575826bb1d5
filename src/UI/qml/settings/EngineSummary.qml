pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Vorlin

// What an engine is: its check mark, name, words about it and tags.
RowLayout {
    id: summary

    required property FormRowBridge row
    readonly property var control: row.control

    spacing: 12

    Symbol {
        Layout.preferredWidth: 20
        Layout.preferredHeight: 20
        Layout.alignment: Qt.AlignTop
        name: summary.control.select.symbol
        color: summary.control.selected ? Theme.accent : Theme.secondary
        opacity: summary.control.select.enabled ? 1 : 0.4
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 3

        Flow {
            Layout.fillWidth: true
            spacing: 7

            Label {
                id: name

                text: summary.row.label
                wrapMode: Text.NoWrap
                font.weight: Font.DemiBold
            }
            Label {
                visible: text !== ""
                height: name.height
                text: summary.control.sizeLabel
                caption: true
                secondary: true
            }
            Badge {
                visible: text !== ""
                text: summary.control.badge
                accented: true
            }
        }
        Label {
            Layout.fillWidth: true
            visible: text !== ""
            text: summary.control.summary
            caption: true
            secondary: true
        }
        Flow {
            Layout.fillWidth: true
            Layout.topMargin: 2
            visible: summary.control.tags.length > 0
            spacing: 5

            Repeater {
                model: summary.control.tags

                Badge {
                    required property string modelData

                    text: modelData
                }
            }
        }
    }
}
