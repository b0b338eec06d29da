import QtQuick
import QtQuick.Window
import TavikUi

// The main window: the board fills it under the desktop's own decorations. Closing it only
// hides it; the process lives on in the tray.
Window {
    id: window

    required property BoardController board
    // The application delegate: settings, hiding, quitting.
    required property QtObject app

    title: "Tavik"
    width: 1158
    height: 720
    minimumWidth: 760
    minimumHeight: 460
    color: Radix.appBackground

    // Linux has no global menu bar: the menu's actions are window shortcuts with Ctrl.
    Shortcut {
        sequence: "Ctrl+,"
        context: Qt.ApplicationShortcut
        onActivated: window.app.openSettings()
    }
    Shortcut {
        sequence: "Ctrl+W"
        onActivated: window.close()
    }
    Shortcut {
        sequence: "Ctrl+H"
        onActivated: window.app.hideWindow()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        context: Qt.ApplicationShortcut
        onActivated: Qt.quit()
    }

    BoardView {
        anchors.fill: parent
        controller: window.board
        focus: true
    }
}
