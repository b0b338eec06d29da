import QtQuick
import QtQuick.Templates as T
import TavikUi

// A month grid to pick one day. Days before `minDay` show but cannot be picked; the
// neighbouring months' days fill the first and last row and stay pickable. It reports the
// start of the chosen day through picked() and never closes itself.
Item {
    id: picker

    // Which cell is today.
    required property Clock clock
    // Invalid Date for none.
    property date selected
    property date minDay
    // The month on show at first; the chevrons page from there.
    property date monthStart
    readonly property alias grid: cells

    signal picked(date day)

    implicitWidth: layout.implicitWidth
    implicitHeight: layout.implicitHeight

    CalendarGridModel {
        id: cells
        clock: picker.clock
        monthStart: picker.monthStart
        selected: picker.selected
        minDay: picker.minDay
    }

    component MonthButton: T.AbstractButton {
        id: monthButton
        required property string symbol
        required property int delta
        implicitWidth: 22
        implicitHeight: 22
        padding: 0
        focusPolicy: Qt.NoFocus
        Accessible.name: delta < 0 ? "上个月" : "下个月"
        contentItem: SymbolIcon {
            name: monthButton.symbol
            size: 11
            semibold: true
            color: Radix.secondaryText
        }
        background: Item {}
    }

    Column {
        id: layout

        padding: 12
        spacing: 8

        Item {
            width: days.width
            implicitHeight: Math.max(title.implicitHeight, 22)

            Text {
                id: title
                x: 4
                anchors.verticalCenter: parent.verticalCenter
                text: cells.title
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: Radix.primaryText
            }
            Row {
                anchors.right: parent.right
                anchors.rightMargin: 4
                anchors.verticalCenter: parent.verticalCenter
                spacing: 4

                MonthButton {
                    symbol: "chevron.up"
                    delta: -1
                    onClicked: cells.page(delta)
                }
                MonthButton {
                    symbol: "chevron.down"
                    delta: 1
                    onClicked: cells.page(delta)
                }
            }
        }

        Grid {
            id: days

            columns: 7
            columnSpacing: 2
            rowSpacing: 2

            Repeater {
                model: cells.weekdaySymbols
                delegate: Text {
                    required property string modelData
                    width: 30
                    height: 18
                    text: modelData
                    font.pixelSize: 11
                    font.weight: Font.DemiBold
                    color: Radix.tertiaryText
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }

            Repeater {
                model: cells
                delegate: T.AbstractButton {
                    id: cell

                    required property date date
                    required property int dayNumber
                    required property bool inMonth
                    required property bool beforeMin
                    required property bool isSelected
                    required property bool isToday

                    objectName: "cell_" + Qt.formatDate(date, "yyyy-MM-dd")
                    width: 30
                    height: 30
                    padding: 0
                    enabled: !beforeMin
                    focusPolicy: Qt.NoFocus
                    Accessible.name: cell.date.toLocaleDateString(Qt.locale("zh_CN"))
                    onClicked: picker.picked(cell.date)

                    contentItem: Text {
                        text: cell.dayNumber
                        font.pixelSize: 13
                        font.weight: cell.isSelected || cell.isToday ? Font.DemiBold : Font.Normal
                        color: cell.isSelected ? "white"
                                               : cell.inMonth && !cell.beforeMin
                                                 ? Radix.primaryText
                                                 : Qt.rgba(Radix.secondaryText.r,
                                                           Radix.secondaryText.g,
                                                           Radix.secondaryText.b,
                                                           Radix.secondaryText.a * 0.5)
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                    }
                    background: Rectangle {
                        radius: width / 2
                        color: cell.isSelected ? Radix.accent
                                               : cell.isToday ? Qt.rgba(Radix.primaryText.r,
                                                                        Radix.primaryText.g,
                                                                        Radix.primaryText.b, 0.08)
                                                              : "transparent"
                    }
                }
            }
        }
    }
}
