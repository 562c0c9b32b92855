import QtQuick
import QtQuick.Layouts
import Tessoly

// One group of the settings form: a coloured symbol, the title, and the
// rows below them.
Card {
    id: card
    property string title
    property string iconName
    property color iconColor: Theme.indigo
    default property alias rows: column.data
    padding: 22

    ColumnLayout {
        width: parent.width
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            Layout.bottomMargin: 2
            spacing: 10
            Rectangle {
                implicitWidth: 30; implicitHeight: 30; radius: 9
                color: Theme.pale(card.iconColor)
                Icon { anchors.centerIn: parent; name: card.iconName; size: 18; color: card.iconColor }
            }
            Text {
                objectName: "cardTitle"
                Layout.fillWidth: true
                text: card.title
                elide: Text.ElideRight
                font.family: Theme.fontFamily
                font.pixelSize: Theme.headingSize
                font.weight: Font.DemiBold
                color: Theme.text
            }
        }
        ColumnLayout {
            id: column
            Layout.fillWidth: true
            spacing: 14
        }
    }
}
