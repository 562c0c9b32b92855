import QtQuick
import Tessoly

// A glass card: translucent fill, hairline border, soft shadow.
Item {
    id: card
    default property alias content: body.data
    property int padding: Theme.padding
    // Sized by its first child; cards whose content fills them get their size from the layout.
    implicitHeight: (body.children.length > 0 ? body.children[0].implicitHeight : 0) + 2 * padding
    implicitWidth: (body.children.length > 0 ? body.children[0].implicitWidth : 0) + 2 * padding

    Rectangle { // shadow, two soft layers
        anchors.fill: parent
        anchors.topMargin: 4
        anchors.leftMargin: 2
        anchors.rightMargin: 2
        anchors.bottomMargin: -4
        radius: Theme.radius + 2
        color: Theme.shadow
        opacity: 0.5
    }
    Rectangle {
        anchors.fill: parent
        anchors.bottomMargin: -1
        radius: Theme.radius
        color: Theme.shadow
        opacity: 0.6
    }
    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Theme.card
        border.color: Theme.hairline
        border.width: 1
    }
    Item {
        id: body
        anchors.fill: parent
        anchors.margins: card.padding
    }
}
