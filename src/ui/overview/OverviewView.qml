import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The overview: the disk card, the hidden-space card, Smart Scan and its
// recommendations in one scrolling column, and the toast over all of them.
Item {
    id: overview
    property var scanner: Services.scanner
    property var smartScan: Services.smartScan
    readonly property real fraction: scanner.totalUsed / Math.max(scanner.totalCapacity, 1)

    ScrollView {
        id: view
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: view.availableWidth
            spacing: Theme.gap

            // The panels enter one after the other.
            Component.onCompleted: {
                diskRise.enter()
                hiddenRise.enter()
                heroRise.enter()
            }

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
                transform: diskRise.shift
                RiseIn { id: diskRise; target: diskCard; order: 0 }

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
                        Body {
                            text: "Startup disk"
                            font.weight: Font.DemiBold
                        }
                    }
                    RowLayout {
                        spacing: 10
                        Text {
                            objectName: "freeNumber"
                            text: Format.sizeNumber(overview.scanner.totalFree)
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
                                text: Format.sizeUnit(overview.scanner.totalFree)
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
                        text: "of " + Format.bytes(overview.scanner.totalCapacity) + " total · " + Math.floor(overview.fraction * 100) + "% used"
                        font.family: Theme.fontFamily
                        font.pixelSize: 14
                        color: Theme.secondaryText
                    }
                    GradientBar {
                        objectName: "diskBar"
                        Layout.fillWidth: true
                        Layout.topMargin: 6
                        barHeight: 12
                        fraction: overview.fraction
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        Layout.topMargin: 2
                        Caption {
                            text: Format.bytes(overview.scanner.totalUsed) + " used"
                        }
                        Item { Layout.fillWidth: true }
                        Caption {
                            text: Format.bytes(overview.scanner.totalFree) + " available"
                        }
                    }
                }
            }

            HiddenSpaceCardView {
                id: hiddenSpace
                objectName: "hiddenSpaceCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                transform: hiddenRise.shift
                RiseIn { id: hiddenRise; target: hiddenSpace; order: 1 }
            }

            SmartScanHero {
                id: hero
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                transform: heroRise.shift
                RiseIn { id: heroRise; target: hero; order: 2 }
            }

            RecommendationsPanel {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
            }

            SkippedSection {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
            }

            // Room under the last panel, so that the toast never covers it.
            Item { Layout.preferredHeight: Theme.pageMargin + 56 }
        }
    }

    ToastView {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 24
        maximumWidth: Math.min(560, overview.width - 2 * Theme.pageMargin - 36)
        z: 1
    }
}
