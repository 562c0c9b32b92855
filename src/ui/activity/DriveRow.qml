import QtQuick
import QtQuick.Layouts
import Tessoly

// One drive of the move sheet: name, free space, and why it can't be chosen.
Rectangle {
    id: row
    property var drive
    property real itemBytes: 0
    property bool selected: false
    property bool choosable: false
    signal chosen()

    readonly property string note: !drive.isSupported ? drive.unsupportedReason
                                   : drive.freeBytes < itemBytes ? "Not enough free space — needs " + Format.bytes(itemBytes)
                                   : ""
    implicitHeight: content.implicitHeight + 20
    radius: Theme.smallRadius
    color: selected ? Theme.selection : hover.hovered && choosable ? Theme.track : "transparent"
    border.color: selected ? Theme.indigo : Theme.hairline
    opacity: choosable || selected ? 1 : 0.6

    HoverHandler { id: hover }
    TapHandler {
        enabled: row.choosable
        onTapped: row.chosen()
    }

    RowLayout {
        id: content
        anchors.fill: parent
        anchors.margins: 10
        anchors.leftMargin: 12
        spacing: 12
        Icon {
            name: "externaldrive.connected.to.line.below"
            size: 24
            color: row.drive.isSupported ? Theme.indigo : Theme.mutedText
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Body {
                Layout.fillWidth: true
                text: row.drive.name
                elide: Text.ElideRight
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Caption {
                objectName: "driveSpace"
                text: Format.bytes(row.drive.freeBytes) + " free of " + Format.bytes(row.drive.totalBytes)
            }
            Caption {
                objectName: "driveNote"
                Layout.fillWidth: true
                visible: row.note !== ""
                text: row.note
                wrapMode: Text.WordWrap
                color: row.drive.isSupported ? Theme.orange : Theme.red
            }
        }
        Icon {
            objectName: "driveCheck"
            visible: row.selected
            name: "checkmark.circle.fill"
            size: 20
            color: Theme.indigo
        }
    }
}
