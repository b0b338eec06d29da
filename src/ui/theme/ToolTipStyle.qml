import QtQuick
import QtQuick.Controls
import TavikUi

// Every control shares one tooltip (the attached ToolTip). This dresses it once in the app's
// rounded surface and colours instead of the style's square box.
Item {
    // Made inside the tooltip's own popup item, where the style's parts live, so that they
    // last exactly as long as the tooltip does.
    Component.onCompleted: {
        const tip = ToolTip.toolTip
        const host = tip.background.parent
        tip.background = surface.createObject(host)
        tip.contentItem = label.createObject(host, {
            "tip": tip
        })
        tip.padding = 6
        tip.leftPadding = 9
        tip.rightPadding = 9
    }

    Component {
        id: surface

        Rectangle {
            radius: 6
            color: Radix.controlBackground
            border.width: 1
            border.color: Radix.sandA6
        }
    }
    Component {
        id: label

        Text {
            property ToolTip tip: null

            text: tip ? tip.text : ""
            font.pixelSize: 12
            color: Radix.primaryText
            wrapMode: Text.Wrap
        }
    }
}
