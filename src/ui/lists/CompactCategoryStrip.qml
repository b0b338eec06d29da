import QtQuick
import TavikUi

// The row of list tabs in the later column's header: 全部, one tab per list, and a plus
// button that creates a list. It stores nothing and reports through its three signals.
Item {
    id: strip

    // The CategoryListModel (roles categoryId, name, colorHex), in strip order.
    property var categories: null
    // "" is 全部.
    property string selectedCategoryId: ""
    // The board's BoardDragState; tabs light up under a dragged task (null: never).
    property BoardDragState dragState: null
    property bool reduceMotion: false
    // The width the header leaves for the strip; the selected tab's name gives way to fit.
    property real availableWidth: Infinity

    signal selectRequested(string categoryId)
    signal createRequested(string name, string colorHex)
    signal deleteRequested(string categoryId)

    readonly property alias creating: controller.creating
    // Made on the first press of the plus button, not with the board.
    property CategoryCreatePopover createPopover: null
    readonly property alias pill: pill

    // The tab whose pill is on show, or null when the selected list has no tab.
    readonly property Item selectedTab: {
        const children = row.children;
        for (let i = 0; i < children.length; ++i) {
            if (children[i].isSelected === true)
                return children[i];
        }
        return null;
    }

    // What is left for the selected tab's name once every other tab, the plus button and the
    // selected tab's own padding, swatch and spacing (36) are placed.
    readonly property real titleRoom: {
        let others = 0;
        const children = row.children;
        for (let i = 0; i < children.length; ++i) {
            const child = children[i];
            if (child !== selectedTab && child.visible && child.width > 0)
                others += child.width + row.spacing;
        }
        return availableWidth + 6 - others - 36;
    }

    // Whether a dragged task would land on this tab's list.
    function isHot(categoryId) {
        return dragState !== null && dragState.draggingId !== ""
                && dragState.targetKind === "assignCategory"
                && dragState.targetCategoryId === categoryId;
    }

    // Tells the board's drag where the strip and each tab stand, in `space`'s coordinates.
    function reportFrames(drag, space) {
        drag.setCategoryStripFrame(strip.mapToItem(space, 0, 0, strip.width, strip.height));
        drag.clearTabFrames();
        const children = row.children;
        for (let i = 0; i < children.length; ++i) {
            const tab = children[i];
            if (tab.categoryId !== undefined && tab.visible)
                drag.addTabFrame(tab.categoryId, tab.mapToItem(space, 0, 0, tab.width, tab.height));
        }
    }

    // The last item reaches 6 past the right edge.
    implicitWidth: row.width - 6
    implicitHeight: row.height

    CategoryStripController {
        id: controller
        onCreateRequested: (name, colorHex) => strip.createRequested(name, colorHex)
    }

    // One pill for all tabs, so a new selection slides it across instead of redrawing.
    Rectangle {
        id: pill
        objectName: "pill"
        visible: strip.selectedTab !== null
        x: strip.selectedTab ? row.x + strip.selectedTab.x : 0
        y: strip.selectedTab ? row.y + strip.selectedTab.y : 0
        width: strip.selectedTab ? strip.selectedTab.width : 0
        height: strip.selectedTab ? strip.selectedTab.height : 0
        radius: height / 2
        color: Radix.sandA4

        Behavior on x {
            enabled: !strip.reduceMotion && pill.visible
            SpringMotion {
                response: 0.28
                dampingFraction: 0.86
                epsilon: 0.25
            }
        }
        Behavior on width {
            enabled: !strip.reduceMotion && pill.visible
            SpringMotion {
                response: 0.28
                dampingFraction: 0.86
                epsilon: 0.25
            }
        }
    }

    Row {
        id: row
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        CategoryTab {
            objectName: "tabAll"
            anchors.verticalCenter: parent.verticalCenter
            categoryId: ""
            name: "全部"
            colorHex: ""
            maximumTitleWidth: strip.titleRoom
            selectedCategoryId: strip.selectedCategoryId
            hot: strip.isHot("")
            reduceMotion: strip.reduceMotion
            onSelectRequested: id => strip.selectRequested(id)
        }

        Repeater {
            model: strip.categories

            delegate: CategoryTab {
                objectName: "tab_" + categoryId
                anchors.verticalCenter: parent ? parent.verticalCenter : undefined
                selectedCategoryId: strip.selectedCategoryId
                maximumTitleWidth: strip.titleRoom
                hot: strip.isHot(categoryId)
                reduceMotion: strip.reduceMotion
                onSelectRequested: id => strip.selectRequested(id)
                onDeleteRequested: id => strip.deleteRequested(id)
            }
        }

        Item {
            id: plusButton
            objectName: "plusButton"
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: plusIcon.implicitWidth + 14
            implicitHeight: plusIcon.implicitHeight + 10
            width: implicitWidth
            height: implicitHeight
            Accessible.role: Accessible.Button
            Accessible.name: "新建清单"

            SymbolIcon {
                id: plusIcon
                anchors.centerIn: parent
                name: "plus"
                size: 11
                semibold: true
                color: Radix.secondaryText
            }
            MouseArea {
                anchors.fill: parent
                onClicked: controller.beginCreate()
            }

            Component {
                id: createPopoverComponent

                CategoryCreatePopover {}
            }
        }
    }

    Connections {
        target: controller
        function onCreatingChanged() {
            if (controller.creating) {
                if (!strip.createPopover)
                    strip.createPopover = createPopoverComponent.createObject(
                                plusButton, { controller: controller });
                strip.createPopover.open();
            } else if (strip.createPopover) {
                strip.createPopover.close();
            }
        }
    }
}
