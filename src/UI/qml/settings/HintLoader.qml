import QtQuick

// Makes a hint for an item while there is something to be said.
Loader {
    id: loader

    required property Item target
    required property string text
    property bool wanted: false

    function arm() {
        setSource("Hint.qml", {
            parent: target,
            text: text,
            visible: true
        });
    }

    active: wanted && text !== ""
    onTextChanged: arm()
    Component.onCompleted: arm()
}
