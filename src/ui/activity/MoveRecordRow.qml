import QtQuick
import QtQuick.Layouts
import Tessoly

// One moved item: where it was, where it is, and the way back.
Rectangle {
    id: row
    property var record
    property bool busy: false
    property string feedback: ""
    property bool feedbackSuccess: false
    signal bringBackRequested()
    signal dismissRequested()

    readonly property var symbols: ({
        active: "link.circle.fill",
        externalMissing: "externaldrive.trianglebadge.exclamationmark",
        symlinkMissing: "link.badge.plus",
        broken: "xmark.octagon.fill"
    })
    readonly property var tints: ({
        active: Theme.green,
        externalMissing: Theme.orange,
        symlinkMissing: Theme.orange,
        broken: Theme.red
    })

    implicitHeight: content.implicitHeight + 24
    radius: Theme.smallRadius
    color: hover.hovered ? Theme.selection : "transparent"
    HoverHandler { id: hover }

    ColumnLayout {
        id: content
        anchors.fill: parent
        anchors.margins: 12
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            Icon { name: row.symbols[row.record.status]; size: 24; color: row.tints[row.record.status] }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1
                Body {
                    Layout.fillWidth: true
                    text: row.record.name
                    elide: Text.ElideMiddle
                    font.weight: Font.DemiBold
                    color: Theme.text
                }
                Caption {
                    text: Format.bytes(row.record.bytes) + " · " + Format.relativeTime(row.record.movedAt)
                }
            }
            Rectangle { // status pill
                objectName: "statusPill"
                implicitWidth: statusText.implicitWidth + 16
                implicitHeight: 22
                radius: 11
                color: Qt.rgba(row.tints[row.record.status].r, row.tints[row.record.status].g, row.tints[row.record.status].b, 0.14)
                Caption {
                    id: statusText
                    objectName: "statusLabel"
                    anchors.centerIn: parent
                    text: row.record.statusLabel
                    font.weight: Font.DemiBold
                    color: row.tints[row.record.status]
                }
            }
        }

        GridLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 36
            columns: 2
            columnSpacing: 10
            rowSpacing: 2
            Caption { text: "Original"; color: Theme.mutedText }
            Caption {
                Layout.fillWidth: true
                text: row.record.originalDisplay
                elide: Text.ElideMiddle
                color: Theme.secondaryText
            }
            Caption { text: "Now on"; color: Theme.mutedText }
            Caption {
                Layout.fillWidth: true
                text: row.record.externalDisplay
                elide: Text.ElideMiddle
                color: Theme.secondaryText
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 36
            spacing: 8
            AppButton {
                objectName: "showOriginal"
                text: "Show original"
                iconName: "magnifyingglass"
                onClicked: Services.reveal(row.record.originalPath)
            }
            AppButton {
                objectName: "showOnDrive"
                text: "Show on drive"
                iconName: "externaldrive"
                enabled: row.record.status !== "externalMissing" && row.record.status !== "broken"
                onClicked: Services.reveal(row.record.externalPath)
            }
            AppButton {
                objectName: "bringBack"
                visible: row.record.status !== "broken"
                kind: "primary"
                text: row.busy ? "Bringing back…" : "Bring back to Mac"
                iconName: "arrow.uturn.backward"
                enabled: row.record.status === "active" && !row.busy
                onClicked: row.bringBackRequested()
            }
            AppButton {
                objectName: "dismiss"
                visible: row.record.status === "broken"
                text: "Dismiss"
                onClicked: row.dismissRequested()
            }
            Item { Layout.fillWidth: true }
        }

        Caption {
            objectName: "feedback"
            Layout.fillWidth: true
            Layout.leftMargin: 36
            visible: row.feedback !== ""
            text: row.feedback
            wrapMode: Text.WordWrap
            color: row.feedbackSuccess ? Theme.green : Theme.red
        }
    }
}
