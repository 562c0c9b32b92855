import QtQuick
import QtQuick.Layouts
import Tessoly

// One folder of a profile: tick box, what it is, how safe, how big.
Rectangle {
    id: row
    required property var modelData
    required property int index
    property var cleanup
    property bool ticked: false
    signal toggled()

    readonly property var state: { cleanup.statesRevision; return cleanup.stateOf(modelData.id) }

    objectName: "targetRow_" + modelData.id
    implicitHeight: content.implicitHeight + 20
    radius: Theme.smallRadius
    color: rowHover.hovered ? Qt.rgba(Theme.indigo.r, Theme.indigo.g, Theme.indigo.b, 0.04) : "transparent"
    HoverHandler { id: rowHover; cursorShape: Qt.PointingHandCursor }
    TapHandler { onTapped: row.toggled() }

    RowLayout {
        id: content
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.leftMargin: 10
        anchors.rightMargin: 12
        spacing: 12
        Icon {
            objectName: "tick"
            name: row.ticked ? "checkmark.square.fill" : "square"
            size: 22
            color: row.ticked ? Theme.indigo : Theme.mutedText
        }
        Rectangle {
            implicitWidth: 34; implicitHeight: 34; radius: 10
            color: Theme.selection
            Icon { anchors.centerIn: parent; name: row.modelData.icon; size: 18; color: Theme.indigo }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            RowLayout {
                spacing: 8
                RowTitle {
                    text: row.modelData.name
                }
                Rectangle {
                    implicitWidth: safetyText.implicitWidth + 12
                    implicitHeight: 18
                    radius: 9
                    color: Qt.rgba(Theme.tint(row.modelData.safetyTint).r, Theme.tint(row.modelData.safetyTint).g,
                                   Theme.tint(row.modelData.safetyTint).b, 0.13)
                    Text {
                        id: safetyText
                        anchors.centerIn: parent
                        text: row.modelData.safety
                        font.family: Theme.fontFamily
                        font.pixelSize: 10
                        font.weight: Font.DemiBold
                        color: Theme.tint(row.modelData.safetyTint)
                    }
                }
            }
            Caption {
                Layout.fillWidth: true
                text: row.modelData.description
                wrapMode: Text.WordWrap
            }
            Text { // where this folder is on this system
                objectName: "locationText"
                Layout.fillWidth: true
                text: row.cleanup.locationOf(row.modelData.id)
                elide: Text.ElideMiddle
                font.family: Theme.fontFamily
                font.pixelSize: Theme.smallSize - 1
                color: Theme.mutedText
            }
        }
        ColumnLayout {
            Layout.preferredWidth: 110
            spacing: 1
            Text {
                objectName: "sizeText"
                Layout.alignment: Qt.AlignRight
                text: !row.state.measured ? "…" : row.state.exists ? Format.bytes(row.state.bytes) : "Not present"
                font.family: Theme.fontFamily
                font.pixelSize: row.state.exists ? 14 : Theme.smallSize
                font.weight: row.state.exists ? Font.DemiBold : Font.Normal
                color: row.state.exists ? Theme.text : Theme.mutedText
            }
            Caption {
                objectName: "itemsText"
                Layout.alignment: Qt.AlignRight
                visible: row.state.measured && row.state.exists
                text: row.state.childCount + (row.state.childCount === 1 ? " item" : " items")
            }
        }
    }
}
