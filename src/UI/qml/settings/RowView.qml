pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Vorlin

// One row of a form: a label, a control on the trailing side, lines under them.
Item {
    id: view

    required property FormRowBridge row
    required property int index

    implicitHeight: Math.max(44, lines.implicitHeight + 2 * 9)

    Rectangle {
        visible: view.index > 0
        x: 14
        width: parent.width - 14
        height: Theme.hairline
        color: Theme.separator
    }
    ColumnLayout {
        id: lines

        x: 14
        width: parent.width - 28
        anchors.verticalCenter: parent.verticalCenter
        spacing: 5

        RowLayout {
            Layout.fillWidth: true
            visible: control.implicitHeight > 0
            spacing: 16

            Label {
                Layout.fillWidth: true
                Layout.minimumWidth: Math.min(implicitWidth, 190)
                visible: !view.row.fillsRow
                text: view.row.label
                Accessible.ignored: !view.row.readsLabel
            }
            Loader {
                id: control

                Layout.fillWidth: view.row.fillsRow
                Layout.maximumWidth: view.row.fillsRow ? -1 : 350
                Component.onCompleted: setSource(view.row.view, {
                    row: view.row
                })
            }
        }
        Label {
            Layout.fillWidth: true
            visible: text !== ""
            text: view.row.caption
            caption: true
            secondary: true
        }
        RowLayout {
            Layout.fillWidth: true
            visible: problem.text !== ""
            spacing: 7

            Symbol {
                Layout.preferredWidth: 15
                Layout.preferredHeight: 15
                Layout.alignment: Qt.AlignTop
                name: "exclamationmark.circle.fill"
                color: Theme.warning
            }
            Label {
                id: problem

                Layout.fillWidth: true
                text: view.row.problem
                caption: true
                color: Theme.warning
                Accessible.role: Accessible.AlertMessage
            }
        }
    }
}
