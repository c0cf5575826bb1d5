import QtQuick
import QtQuick.Dialogs

// A window that the dialog fills: without a desktop's own, a dialog needs one to stand in.
Window {
    id: root

    required property string prompt

    signal accepted(url folder)
    signal rejected

    width: 600
    height: 400
    minimumWidth: 600
    minimumHeight: 400
    modality: Qt.WindowModal
    visible: true
    // A chosen folder is shown on a mere tint of the highlight.
    palette.highlightedText: palette.text

    onClosing: root.rejected()

    FolderDialog {
        parentWindow: root
        acceptLabel: root.prompt
        onAccepted: root.accepted(selectedFolder)
        onRejected: root.rejected()
        Component.onCompleted: open()
    }
}
