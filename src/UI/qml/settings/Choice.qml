pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vorlin

// One of `Choices`.
T.AbstractButton {
    id: choice

    required property Choices group
    required property int place
    property string help: ""

    readonly property bool first: group.selected < 0 && place === 0

    checked: place === group.selected
    focusPolicy: checked || activeFocus || first ? Qt.StrongFocus : Qt.ClickFocus
    onClicked: group.chosen(place)

    Accessible.role: Accessible.RadioButton
    Accessible.name: text === "" ? help : text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: choice.clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onLeftPressed: group.moveAside(place, -1)
    Keys.onRightPressed: group.moveAside(place, 1)
    Keys.onUpPressed: group.columns < group.model.length ? group.move(place, -group.columns)
                                                             : group.move(place, -1)
    Keys.onDownPressed: group.columns < group.model.length ? group.move(place, group.columns)
                                                               : group.move(place, 1)

    HintLoader {
        target: choice
        text: choice.help
        wanted: choice.hovered || choice.visualFocus
    }
}
