import QtQuick
import QtQuick.Layouts
import Tessoly

// One section in the sidebar: symbol and label, highlighted when selected.
Rectangle {
    id: item
    property string label
    property string iconName
    property bool selected: false
    signal activated()

    implicitHeight: 36
    radius: Theme.smallRadius
    color: selected ? Theme.selection : hover.containsMouse ? Qt.rgba(Theme.indigo.r, Theme.indigo.g, Theme.indigo.b, 0.05) : "transparent"
    Behavior on color { ColorAnimation { duration: Theme.fastMs } }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        spacing: 10
        Icon { name: item.iconName; size: 18; color: item.selected ? Theme.indigo : Theme.tertiaryText }
        Text {
            Layout.fillWidth: true
            text: item.label
            font.family: Theme.fontFamily
            font.pixelSize: 14
            font.weight: item.selected ? Font.DemiBold : Font.Medium
            color: item.selected ? Theme.text : Theme.secondaryText
        }
    }
    MouseArea {
        id: hover
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: item.activated()
    }
}
