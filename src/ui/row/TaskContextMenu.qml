import QtQuick
import QtQuick.Controls
import TavikUi

// The context menu of a task row: edit, details, file under a list, delete.
SymbolMenu {
    // Not `menu`: inside an entry that name is the entry's own MenuItem.menu, which for the
    // list submenu's entries is the submenu.
    id: contextMenu

    // The lists on offer (CategoryListModel) and the task's own list ("" for none).
    property var categories: null
    property string categoryId: ""

    signal editRequested
    signal detailsRequested
    signal assignRequested(string categoryId)
    signal deleteRequested

    SymbolMenuItem {
        text: "编辑"
        symbol: "pencil"
        onTriggered: contextMenu.editRequested()
    }
    SymbolMenuItem {
        text: "详情"
        symbol: "info.circle"
        onTriggered: contextMenu.detailsRequested()
    }
    MenuRule {}
    SymbolMenu {
        id: listMenu

        property string symbol: "tag"

        title: "清单"

        SymbolMenuItem {
            text: "无"
            symbol: contextMenu.categoryId === "" ? "checkmark" : ""
            onTriggered: contextMenu.assignRequested("")
        }
        MenuRule {
            visible: listEntries.count > 0
            height: visible ? implicitHeight : 0
        }
        Instantiator {
            id: listEntries
            model: contextMenu.categories
            delegate: SymbolMenuItem {
                required property string categoryId
                required property string name

                text: name
                symbol: categoryId === contextMenu.categoryId ? "checkmark" : ""
                onTriggered: contextMenu.assignRequested(categoryId)
            }
            onObjectAdded: (index, object) => listMenu.insertItem(index + 2, object)
            onObjectRemoved: (index, object) => listMenu.removeItem(object)
        }
    }
    MenuRule {}
    SymbolMenuItem {
        text: "删除"
        symbol: "trash"
        destructive: true
        onTriggered: contextMenu.deleteRequested()
    }
}
