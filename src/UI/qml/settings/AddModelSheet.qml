import QtQuick
import QtQuick.Templates as T
import Vorlin

// The sheet in which a person adds an engine.
T.Popup {
    id: sheet

    required property SettingsBridge settings
    // Has the focus again when the sheet is closed.
    required property Item behind

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) / 2) : 0
    width: 470
    height: body.height + 16
    padding: 0
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    visible: settings.adding
    onClosed: {
        settings.dismiss();
        behind.forceActiveFocus(Qt.PopupFocusReason);
    }

    background: Rectangle {
        radius: 13
        color: Theme.window
        border.width: Theme.hairline
        border.color: Theme.outline
    }
    T.Overlay.modal: Rectangle {
        color: Theme.dim
    }

    FocusScope {
        id: body

        width: parent.width
        height: form.contentHeight + buttons.height
        focus: true
        Accessible.role: Accessible.Dialog
        Accessible.name: sheet.settings.confirm.text
        Keys.onReturnPressed: sheet.settings.confirm.press()
        Keys.onEnterPressed: sheet.settings.confirm.press()

        FormView {
            id: form

            width: parent.width
            height: contentHeight
            gap: 20
            form: sheet.settings.sheet
        }
        Row {
            id: buttons

            anchors.right: parent.right
            anchors.rightMargin: 20
            anchors.bottom: parent.bottom
            spacing: 8

            CommandButton {
                command: sheet.settings.cancel
            }
            CommandButton {
                command: sheet.settings.confirm
                suggested: true
            }
        }
    }
}
