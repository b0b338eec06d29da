import QtQuick
import QtQuick.Controls
import TavikUi

// Stands above the bar while a request is in flight.
Rectangle {
    id: pill

    implicitWidth: row.implicitWidth + 28
    implicitHeight: row.implicitHeight + 16
    radius: height / 2
    color: Radix.dark ? Qt.rgba(0.16, 0.16, 0.15, 0.97) : Qt.rgba(1, 1, 1, 0.97)
    border.width: 0.5
    border.color: Radix.sand6

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 7

        BusyIndicator {
            anchors.verticalCenter: parent.verticalCenter
            width: 16
            height: 16
            padding: 0
            running: pill.visible
            // The styles draw with the application palette (Fusion its text colour, Basic its
            // dark one), which follows the system, not the app's scheme: on the dark pill
            // it vanished. The label's colour reads in both schemes.
            palette.text: Radix.secondaryText
            palette.dark: Radix.secondaryText
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "AI 正在整理…"
            font.pixelSize: 14
            color: Radix.secondaryText
        }
    }
}
