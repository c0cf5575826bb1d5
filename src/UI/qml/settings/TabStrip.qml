pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// The tabs of the window: symbols over their names.
Rectangle {
    id: strip

    required property SettingsBridge settings

    implicitHeight: 66
    color: Theme.bar

    Choices {
        id: choices

        anchors.centerIn: parent
        columns: model.length
        spacing: 4
        label: strip.Window.window ? strip.Window.window.title : ""
        model: strip.settings.tabs
        selected: strip.settings.tab
        onChosen: index => strip.settings.tab = index
        Accessible.role: Accessible.PageTabList

        delegate: Choice {
            id: tab

            required property var modelData
            required property int index

            group: choices
            place: index
            text: modelData.text
            width: 96
            height: 52
            Accessible.role: Accessible.PageTab

            contentItem: Item {
                Symbol {
                    width: 20
                    height: 20
                    y: 7
                    anchors.horizontalCenter: parent.horizontalCenter
                    name: tab.modelData.symbol
                    color: tab.checked ? Theme.text : Theme.secondary
                }
                Label {
                    width: parent.width
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 6
                    horizontalAlignment: Text.AlignHCenter
                    text: tab.text
                    caption: true
                    elide: Text.ElideRight
                    wrapMode: Text.NoWrap
                    font.weight: tab.checked ? Font.DemiBold : Font.Normal
                    color: tab.checked ? Theme.text : Theme.secondary
                    Accessible.ignored: true
                }
            }
            background: Rectangle {
                radius: 9
                color: tab.checked ? Theme.accentTint
                       : tab.down ? Theme.controlPressed
                       : tab.hovered ? Theme.control : "transparent"

                FocusRing {
                    shown: tab.visualFocus
                    gap: -1
                    radius: 10
                }
            }
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.hairline
        color: Theme.outline
    }
}
