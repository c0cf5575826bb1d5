import QtQuick
import Vorlin

// The settings window's content: the tabs, and the form of the one that is shown.
FocusScope {
    id: pane

    required property SettingsBridge settings

    signal closed
    signal quit

    Binding {
        target: Theme
        property: "dark"
        value: pane.settings.dark
    }
    Binding {
        target: Theme
        property: "reducedMotion"
        value: pane.settings.reducedMotion
    }
    Binding {
        target: Theme
        property: "accent"
        value: pane.settings.accent
    }
    Binding {
        target: Theme
        property: "pixelRatio"
        value: Screen.devicePixelRatio
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.window
    }
    TabStrip {
        id: strip

        width: parent.width
        settings: pane.settings
    }
    FormView {
        anchors.top: strip.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        form: pane.settings.form
        onFormChanged: contentY = 0
    }
    Loader {
        readonly property bool wanted: pane.settings.adding

        // Made when it is first wanted, the sheet stays: it shows and hides itself.
        onWantedChanged: {
            if (item === null) {
                setSource("AddModelSheet.qml", {
                    settings: pane.settings,
                    behind: pane
                });
            }
        }
    }

    Shortcut {
        sequences: ["Ctrl+W"]
        onActivated: pane.closed()
    }
    Shortcut {
        sequences: ["Ctrl+Q"]
        onActivated: pane.quit()
    }
    Shortcut {
        sequences: ["Ctrl+PgDown", "Ctrl+Tab"]
        onActivated: pane.settings.tab = (pane.settings.tab + 1) % pane.settings.tabs.length
    }
    Shortcut {
        sequences: ["Ctrl+PgUp", "Ctrl+Shift+Tab"]
        onActivated: pane.settings.tab = (pane.settings.tab + pane.settings.tabs.length - 1)
                                         % pane.settings.tabs.length
    }
}
