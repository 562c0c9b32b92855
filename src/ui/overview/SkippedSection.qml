import QtQuick
import QtQuick.Layouts
import Tessoly

// The cards skipped in this session, folded under a heading with their count.
Card {
    id: section
    objectName: "skippedSection"
    property var smartScan: Services.smartScan
    readonly property var skipped: smartScan.skippedRecommendations
    property bool expanded: false
    visible: skipped.length > 0
    padding: 6
    transform: rise.shift

    RiseIn { id: rise; target: section }
    // Folded again once nothing is skipped (a new scan starts afresh).
    onSkippedChanged: if (skipped.length === 0) expanded = false
    onVisibleChanged: if (visible) rise.enter()

    ColumnLayout {
        width: parent.width
        spacing: 0

        Rectangle {
            objectName: "skippedHeader"
            Layout.fillWidth: true
            implicitHeight: 44
            radius: Theme.smallRadius
            color: headerHover.hovered ? Theme.selection : "transparent"
            HoverHandler { id: headerHover; cursorShape: Qt.PointingHandCursor }
            TapHandler { onTapped: section.expanded = !section.expanded }

            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 12
                anchors.rightMargin: 12
                spacing: 8
                Icon {
                    objectName: "skippedChevron"
                    name: section.expanded ? "chevron.down" : "chevron.right"
                    size: 18
                    color: Theme.tertiaryText
                }
                RowTitle {
                    objectName: "skippedTitle"
                    text: "Skipped this session"
                    color: Theme.secondaryText
                }
                Rectangle {
                    implicitWidth: Math.max(22, skippedCount.implicitWidth + 12)
                    implicitHeight: 20
                    radius: 10
                    color: Theme.track
                    Caption {
                        id: skippedCount
                        objectName: "skippedCount"
                        anchors.centerIn: parent
                        text: section.skipped.length
                        font.weight: Font.DemiBold
                        color: Theme.secondaryText
                    }
                }
                Item { Layout.fillWidth: true }
            }
        }

        ColumnLayout {
            objectName: "skippedList"
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.bottomMargin: 8
            visible: section.expanded
            spacing: 0

            Repeater {
                model: section.skipped
                delegate: RowLayout {
                    required property var modelData
                    required property int index
                    objectName: "skippedRow_" + index
                    Layout.fillWidth: true
                    Layout.preferredHeight: 40
                    spacing: 10
                    Rectangle {
                        implicitWidth: 28; implicitHeight: 28; radius: 8
                        color: Theme.pale(Theme.tint(modelData.tint), 0.1)
                        Icon { anchors.centerIn: parent; name: modelData.icon; size: 16; color: Theme.tint(modelData.tint) }
                    }
                    Body {
                        objectName: "skippedRowTitle"
                        Layout.fillWidth: true
                        text: modelData.title
                        elide: Text.ElideRight
                        color: Theme.tertiaryText
                    }
                    Caption {
                        visible: modelData.estimatedSavings > 0
                        text: Format.bytes(modelData.estimatedSavings)
                        color: Theme.mutedText
                    }
                }
            }
        }
    }
}
