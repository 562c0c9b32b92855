import QtQuick
import QtQuick.Layouts
import Tessoly

// A big, stale folder that could live on an external drive.
Rectangle {
    id: row
    property var candidate
    signal moveRequested()

    implicitHeight: 56
    radius: Theme.smallRadius
    color: hover.hovered ? Theme.selection : "transparent"
    HoverHandler { id: hover }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 4
        spacing: 12
        Icon { name: row.candidate.symbol; size: 24; color: Theme.indigo }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            Body {
                Layout.fillWidth: true
                text: row.candidate.displayName
                elide: Text.ElideMiddle
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Caption {
                Layout.fillWidth: true
                text: row.candidate.category + " · last used " + Format.relativeTime(row.candidate.lastUsed)
                elide: Text.ElideRight
            }
        }
        Body {
            text: Format.bytes(row.candidate.bytes)
            font.weight: Font.DemiBold
        }
        AppButton {
            objectName: "moveCandidate"
            text: "Move to external drive"
            iconName: "externaldrive.badge.plus"
            onClicked: row.moveRequested()
        }
    }
}
