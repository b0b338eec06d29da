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

    width: board.defaultWindowSize.width
    height: board.defaultWindowSize.height
    minimumWidth: board.minimumWindowSize.width
    minimumHeight: board.minimumWindowSize.height
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
