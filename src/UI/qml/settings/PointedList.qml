import QtQuick

// A list that opens, and tells a pointer that a person moves over it from one that merely rests
// where it opened: that one marks nothing, for who opened the list by a key goes on by keys.
ListView {
    id: list

    // Whether the pointer has moved.
    property bool pointed: false
    property var place: null

    // To be called when the list opens.
    function begin() {
        pointed = false;
        place = null;
    }

    HoverHandler {
        onPointChanged: {
            if (hovered) {
                list.place = list.place ?? point.scenePosition;
                list.pointed = list.pointed || point.scenePosition !== list.place;
            }
        }
    }
}
