import QtQuick
import QtQuick.Layouts
import Tessoly

// One entry of the log; opens to show its items and actions.
Rectangle {
    id: row
    required property int index
    required property string entryId
    required property string summary
    required property string kindLabel
    required property string kindIcon
    required property string kindTint
    required property string age
    required property string itemCountText
    required property var bytesReclaimed
    required property string statusLabel
    required property string statusTint
    required property bool isRestorable
    required property var shownItems
    required property int moreItems
    required property string externalPath

    property bool expanded: false
    property string feedback: ""
    signal toggled()
    signal restoreRequested()

    objectName: "historyRow_" + index
    implicitHeight: column.implicitHeight + 20
    radius: Theme.smallRadius
    color: expanded ? Qt.rgba(Theme.indigo.r, Theme.indigo.g, Theme.indigo.b, 0.04)
                    : rowHover.hovered ? Qt.rgba(Theme.indigo.r, Theme.indigo.g, Theme.indigo.b, 0.03) : "transparent"
    HoverHandler { id: rowHover }

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 10
        spacing: 10

        RowLayout { // the summary line; a click opens or closes the row
            Layout.fillWidth: true
            spacing: 12
            TapHandler { onTapped: row.toggled() }
            Rectangle {
                implicitWidth: 38; implicitHeight: 38; radius: 11
                color: Qt.rgba(Theme.tint(row.kindTint).r, Theme.tint(row.kindTint).g, Theme.tint(row.kindTint).b, 0.13)
                Icon { anchors.centerIn: parent; name: row.kindIcon; size: 20; color: Theme.tint(row.kindTint) }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                RowTitle {
                    Layout.fillWidth: true
                    text: row.summary
                    elide: Text.ElideRight
                }
                Caption {
                    Layout.fillWidth: true
                    text: row.kindLabel + " · " + row.age
                    elide: Text.ElideRight
                }
            }
            Caption {
                Layout.preferredWidth: 70
                horizontalAlignment: Text.AlignRight
                text: row.itemCountText
            }
            Body {
                Layout.preferredWidth: 84
                horizontalAlignment: Text.AlignRight
                text: Format.bytes(row.bytesReclaimed)
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Item {
                Layout.preferredWidth: 150
                implicitHeight: 22
                Rectangle {
                objectName: "statusPill"
                anchors.right: parent.right
                width: statusText.implicitWidth + 16
                height: 22
                radius: 11
                color: Qt.rgba(Theme.tint(row.statusTint).r, Theme.tint(row.statusTint).g, Theme.tint(row.statusTint).b, 0.13)
                Text {
                    id: statusText
                    anchors.centerIn: parent
                    text: row.statusLabel
                    font.family: Theme.fontFamily
                    font.pixelSize: 11
                    font.weight: Font.DemiBold
                    color: Theme.tint(row.statusTint)
                }
                }
            }
            Icon { name: row.expanded ? "chevron.down" : "chevron.right"; size: 20; color: Theme.mutedText }
        }

        ColumnLayout { // the open row
            Layout.fillWidth: true
            Layout.leftMargin: 50
            visible: row.expanded
            spacing: 6

            Repeater {
                model: row.shownItems
                delegate: RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    spacing: 8
                    Icon { name: "doc"; size: 16; color: Theme.mutedText }
                    Caption {
                        Layout.fillWidth: true
                        text: modelData.path
                        elide: Text.ElideMiddle
                        color: Theme.secondaryText
                    }
                    Caption {
                        text: Format.bytes(modelData.bytes)
                    }
                }
            }
            Caption {
                visible: row.moreItems > 0
                text: "…and " + row.moreItems + " more"
            }
            RowLayout {
                Layout.topMargin: 4
                spacing: 8
                AppButton {
                    objectName: "revealExternal"
                    visible: row.externalPath !== ""
                    text: "Reveal external"
                    iconName: "arrow.up.right.square"
                    onClicked: Services.reveal(row.externalPath)
                }
                AppButton {
                    objectName: "restoreButton"
                    visible: row.isRestorable
                    text: "Restore from Trash"
                    kind: "primary"
                    iconName: "arrow.uturn.backward"
                    onClicked: row.restoreRequested()
                }
            }
        }

        Caption {
            objectName: "restoreFeedback"
            Layout.fillWidth: true
            Layout.leftMargin: 50
            visible: row.feedback !== ""
            text: row.feedback
            wrapMode: Text.WordWrap
            font.weight: Font.Medium
            color: Theme.indigo
            opacity: visible ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: Theme.fastMs } }
        }
    }
}
