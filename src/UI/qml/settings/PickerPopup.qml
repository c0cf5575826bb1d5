import QtQuick
import QtQuick.Templates as T
import Vorlin

// The list of a picker.
T.Popup {
    id: list

    required property T.ComboBox picker
    required property var choices
    readonly property bool hasNotes: choices.some(each => each.note !== "")
    readonly property bool pointed: (contentItem as PointedList).pointed

    x: picker.width - width
    y: picker.height + 3
    width: Math.max(picker.width + 30, hasNotes ? 290 : 0)
    height: Math.min(320, contentItem.implicitHeight + topPadding + bottomPadding)
    margins: 6
    padding: 5
    background: PopupBackground {}
    onAboutToShow: (contentItem as PointedList).begin()

    contentItem: PointedList {
        implicitHeight: contentHeight
        clip: true
        model: list.picker.delegateModel
        currentIndex: list.picker.highlightedIndex
        boundsBehavior: Flickable.StopAtBounds
        // The focus stays on the picker.
        onCurrentItemChanged: {
            if (list.opened && currentItem) {
                Speaker.say((currentItem as PickerLine).Accessible.name);
            }
        }
    }
}
