import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The disk card and, as they come, the other panels of the overview.
ScrollView {
    id: view
    property var scanner: Services.scanner
    readonly property real fraction: scanner.totalUsed / Math.max(scanner.totalCapacity, 1)
    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        width: view.availableWidth
        spacing: Theme.gap

        PageHeader {
            Layout.fillWidth: true
            Layout.topMargin: Theme.pageMargin
            Layout.leftMargin: Theme.pageMargin
            Layout.rightMargin: Theme.pageMargin
            title: "Overview"
            subtitle: "Where the space on this disk has gone, and how to get it back safely."
        }

        Card {
            id: diskCard
            objectName: "diskCard"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pageMargin
            Layout.rightMargin: Theme.pageMargin
            padding: 24
            opacity: 0
            Component.onCompleted: enter.start()
            NumberAnimation { id: enter; target: diskCard; property: "opacity"; to: 1; duration: Theme.panelMs; easing.type: Easing.OutCubic }

            ColumnLayout {
                width: parent.width
                spacing: 10
                RowLayout {
                    spacing: 10
                    Rectangle {
                        implicitWidth: 34; implicitHeight: 34; radius: 10
                        color: Theme.selection
                        Icon { anchors.centerIn: parent; name: "internaldrive"; size: 20; color: Theme.indigo }
                    }
                    Text {
                        text: "Startup disk"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.bodySize
                        font.weight: Font.DemiBold
                        color: Theme.secondaryText
                    }
                }
                RowLayout {
                    spacing: 10
                    Text {
                        objectName: "freeNumber"
                        text: Format.sizeNumber(view.scanner.totalFree)
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.heroSize
                        font.weight: Font.Bold
                        color: Theme.text
                    }
                    ColumnLayout {
                        Layout.alignment: Qt.AlignBottom
                        Layout.bottomMargin: 10
                        spacing: 0
                        Text {
                            objectName: "freeUnit"
                            text: Format.sizeUnit(view.scanner.totalFree)
                            font.family: Theme.fontFamily
                            font.pixelSize: 22
                            font.weight: Font.DemiBold
                            color: Theme.secondaryText
                        }
                        Text {
                            text: "free"
                            font.family: Theme.fontFamily
                            font.pixelSize: 15
                            color: Theme.tertiaryText
                        }
                    }
                }
                Text {
                    objectName: "capacityLine"
                    text: "of " + Format.bytes(view.scanner.totalCapacity) + " total · " + Math.floor(view.fraction * 100) + "% used"
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    color: Theme.secondaryText
                }
                GradientBar {
                    objectName: "diskBar"
                    Layout.fillWidth: true
                    Layout.topMargin: 6
                    barHeight: 12
                    fraction: view.fraction
                }
                RowLayout {
                    Layout.fillWidth: true
                    Layout.topMargin: 2
                    Text {
                        text: Format.bytes(view.scanner.totalUsed) + " used"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.smallSize
                        color: Theme.tertiaryText
                    }
                    Item { Layout.fillWidth: true }
                    Text {
                        text: Format.bytes(view.scanner.totalFree) + " available"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.smallSize
                        color: Theme.tertiaryText
                    }
                }
            }
        }

        HiddenSpaceCardView {
            objectName: "hiddenSpaceCard"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pageMargin
            Layout.rightMargin: Theme.pageMargin
        }

        Item { Layout.preferredHeight: Theme.pageMargin }
    }
}
