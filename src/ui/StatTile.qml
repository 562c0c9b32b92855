import QtQuick
import QtQuick.Layouts
import Tessoly

// A small card with a caption and one big figure.
Card {
    property string caption
    property string value
    property string iconName
    property color tint: Theme.indigo
    padding: 16
    implicitHeight: 84

    RowLayout {
        width: parent.width
        spacing: 12
        Rectangle {
            implicitWidth: 40; implicitHeight: 40; radius: 12
            color: Qt.rgba(tint.r, tint.g, tint.b, 0.12)
            Icon { anchors.centerIn: parent; name: iconName; size: 22; color: tint }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                text: caption
                font.family: Theme.fontFamily
                font.pixelSize: Theme.smallSize
                color: Theme.tertiaryText
            }
            Text {
                Layout.fillWidth: true
                text: value
                elide: Text.ElideRight
                font.family: Theme.fontFamily
                font.pixelSize: 22
                font.weight: Font.Bold
                color: Theme.text
            }
        }
    }
}
