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
            id: heading

            Layout.fillWidth: true
            spacing: 7

            Label {
                id: name

                width: Math.min(implicitWidth, heading.width)
                text: summary.row.label
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 2
                elide: Text.ElideRight
                font.weight: Font.DemiBold
            }
            Label {
                width: Math.min(implicitWidth, heading.width)
                height: name.lineCount > 1 ? implicitHeight : name.height
                visible: text !== ""
                text: summary.control.sizeLabel
                wrapMode: Text.NoWrap
                elide: Text.ElideRight
                caption: true
                secondary: true
            }
            Badge {
                width: Math.min(implicitWidth, heading.width)
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
            id: tags

            Layout.fillWidth: true
            Layout.topMargin: 2
            visible: summary.control.tags.length > 0
            spacing: 5

            Repeater {
                model: summary.control.tags

                Badge {
                    required property string modelData

                    width: Math.min(implicitWidth, tags.width)
                    text: modelData
                }
            }
        }
    }
}
