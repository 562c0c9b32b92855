import QtQuick
import QtQuick.Layouts
import Tessoly

// A small card with a caption and one big figure. Narrow tiles may drop the
// symbol (showIcon) so that the caption keeps its room.
Card {
    id: tile
    property string caption
    property string value
    property string iconName
    property color tint: Theme.indigo
    property bool showIcon: true
    property int valueSize: 22
    padding: 16
    implicitHeight: 84

    RowLayout {
        width: parent.width
        spacing: 12
        Rectangle {
            visible: tile.showIcon
            implicitWidth: 40; implicitHeight: 40; radius: 12
            color: Qt.rgba(tint.r, tint.g, tint.b, 0.12)
            Icon { anchors.centerIn: parent; name: iconName; size: 22; color: tint }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Caption {
                objectName: "statCaption"
                Layout.fillWidth: true
                text: caption
                elide: Text.ElideRight
            }
            Text {
                objectName: "statValue"
                Layout.fillWidth: true
                Layout.preferredHeight: 28 // the same line height whatever the figure's size
                verticalAlignment: Text.AlignVCenter
                text: value
                elide: Text.ElideRight
                font.family: Theme.fontFamily
                font.pixelSize: tile.valueSize
                font.weight: tile.valueSize >= 20 ? Font.Bold : Font.DemiBold
                color: Theme.text
            }
        }
    }
}
