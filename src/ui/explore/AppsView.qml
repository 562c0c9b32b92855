import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Apps: storage per installed app, the bundle and every data folder traced
// back to it. The scanner belongs to this screen and starts when it appears.
Item {
    id: view
    readonly property var scanner: Services.newAppStorageScanner(view)
    readonly property var apps: scanner.apps
    readonly property bool scanning: scanner.isScanning
    property string expandedAppId: "" // the open row

    Component.onCompleted: scanner.startScan()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            PageHeader {
                objectName: "appsHeader"
                Layout.fillWidth: true
                title: "Apps"
                subtitle: "See which apps own your storage — not which folders. Click any app to see every file it touches."
            }
            AppButton {
                objectName: "rescanButton"
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 2
                iconName: "arrow.clockwise"
                busy: view.scanning
                enabled: !view.scanning
                text: view.scanning ? "Scanning…" : "Rescan"
                onClicked: view.scanner.startScan()
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            StatTile {
                objectName: "appsTracked"
                Layout.fillWidth: true
                Layout.preferredWidth: 1 // three equal columns
                showIcon: width >= 230
                caption: "Apps tracked"
                value: String(view.apps.length)
                iconName: "square.grid.2x2"
                tint: Theme.indigo
            }
            StatTile {
                objectName: "totalFootprint"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                showIcon: width >= 230
                caption: "Total footprint"
                value: Format.bytes(view.scanner.totalFootprint)
                iconName: "internaldrive"
                tint: Theme.violet
            }
            StatTile {
                objectName: "reclaimableFromCaches"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                showIcon: width >= 230
                caption: "Reclaimable from caches"
                value: Format.bytes(view.scanner.totalReclaimable)
                iconName: "archivebox"
                tint: Theme.green
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8

            // No apps yet: the first scan at work, or a scan that found none.
            ColumnLayout {
                objectName: "appsEmpty"
                anchors.centerIn: parent
                width: Math.min(parent.width - 32, 460)
                visible: view.apps.length === 0
                spacing: 12
                EmptyState {
                    id: emptyState
                    objectName: "appsEmptyState"
                    Layout.fillWidth: true
                    iconName: view.scanning ? "hourglass" : "square.grid.2x2"
                    title: view.scanning ? "Scanning your installed apps…" : "No apps found"
                    message: view.scanning
                        ? "This takes a few seconds the first time. Tessoly maps every disk location back to the app that owns it."
                        : "Tessoly found no installed apps to map. Rescan to look again."
                }
                RowLayout {
                    Layout.alignment: Qt.AlignHCenter
                    visible: view.scanning
                    spacing: 8
                    Spinner { implicitWidth: 16; implicitHeight: 16 }
                    Caption {
                        objectName: "emptyProgress"
                        text: view.scanner.scanProgress
                    }
                }
            }

            ColumnLayout {
                anchors.fill: parent
                visible: view.apps.length > 0
                spacing: 0

                // A rescan keeps the last list; its progress shows above it.
                RowLayout {
                    objectName: "rescanProgress"
                    Layout.fillWidth: true
                    Layout.margins: 8
                    visible: view.scanning
                    spacing: 8
                    Spinner { implicitWidth: 16; implicitHeight: 16 }
                    Caption {
                        Layout.fillWidth: true
                        text: view.scanner.scanProgress
                        elide: Text.ElideRight
                    }
                }

                ListView {
                    id: list
                    objectName: "appsList"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    model: view.apps
                    spacing: 2
                    ScrollBar.vertical: ScrollBar {}
                    delegate: Item {
                        id: appRow
                        required property var modelData
                        required property int index
                        readonly property bool expanded: view.expandedAppId === modelData.id
                        readonly property int locationCount: modelData.locations.length
                        objectName: "appRow_" + index
                        width: ListView.view.width
                        height: rowColumn.implicitHeight

                        ColumnLayout {
                            id: rowColumn
                            width: parent.width
                            spacing: 0

                            Rectangle {
                                objectName: "appHeader"
                                Layout.fillWidth: true
                                implicitHeight: 56
                                radius: Theme.smallRadius
                                color: headerHover.hovered || appRow.expanded ? Theme.selection : "transparent"
                                HoverHandler { id: headerHover }
                                MouseArea {
                                    anchors.fill: parent
                                    cursorShape: Qt.PointingHandCursor
                                    onClicked: view.expandedAppId = appRow.expanded ? "" : appRow.modelData.id
                                }

                                RowLayout {
                                    anchors.fill: parent
                                    anchors.leftMargin: 8
                                    anchors.rightMargin: 14
                                    spacing: 10
                                    Icon {
                                        objectName: "appChevron"
                                        name: appRow.expanded ? "chevron.down" : "chevron.right"
                                        size: 20
                                        color: Theme.mutedText
                                    }
                                    Rectangle { // the app's initial on a tile
                                        implicitWidth: 34; implicitHeight: 34; radius: 10
                                        color: Theme.pale(Theme.indigo)
                                        Text {
                                            anchors.centerIn: parent
                                            text: appRow.modelData.displayName.charAt(0).toUpperCase()
                                            font.family: Theme.fontFamily
                                            font.pixelSize: 16
                                            font.weight: Font.Bold
                                            color: Theme.indigo
                                        }
                                    }
                                    ColumnLayout {
                                        Layout.fillWidth: true
                                        spacing: 1
                                        RowTitle {
                                            objectName: "appName"
                                            Layout.fillWidth: true
                                            text: appRow.modelData.displayName
                                            elide: Text.ElideRight
                                        }
                                        RowLayout {
                                            Layout.fillWidth: true
                                            spacing: 10
                                            Caption {
                                                objectName: "appLocations"
                                                text: appRow.locationCount + " location" + (appRow.locationCount === 1 ? "" : "s")
                                            }
                                            Caption {
                                                objectName: "appReclaimable"
                                                visible: appRow.modelData.reclaimableBytes > 0
                                                text: Format.bytes(appRow.modelData.reclaimableBytes) + " reclaimable"
                                                font.weight: Font.Medium
                                                color: Theme.green
                                            }
                                            Item { Layout.fillWidth: true }
                                        }
                                    }
                                    RowTitle {
                                        objectName: "appSize"
                                        text: Format.bytes(appRow.modelData.totalBytes)
                                    }
                                }
                            }

                            // Opened: every place the app keeps something.
                            ColumnLayout {
                                objectName: "appLocationList"
                                Layout.fillWidth: true
                                Layout.leftMargin: 52
                                Layout.rightMargin: 8
                                Layout.topMargin: 4
                                Layout.bottomMargin: 10
                                visible: appRow.expanded
                                spacing: 6
                                Repeater {
                                    model: appRow.expanded ? appRow.modelData.locations : []
                                    delegate: ColumnLayout {
                                        id: locationRow
                                        required property var modelData
                                        required property int index
                                        objectName: "location_" + index
                                        Layout.fillWidth: true
                                        spacing: 6
                                        Hairline { visible: locationRow.index > 0 }
                                        RowLayout {
                                            Layout.fillWidth: true
                                            spacing: 12
                                            Rectangle { // the kind, in a pill of one width so that paths line up
                                                implicitWidth: 84
                                                implicitHeight: kindText.implicitHeight + 6
                                                radius: height / 2
                                                color: Theme.track
                                                Text {
                                                    id: kindText
                                                    objectName: "locationKind"
                                                    anchors.centerIn: parent
                                                    width: parent.width - 10
                                                    horizontalAlignment: Text.AlignHCenter
                                                    elide: Text.ElideRight
                                                    text: locationRow.modelData.label
                                                    font.family: Theme.fontFamily
                                                    font.pixelSize: 11
                                                    font.weight: Font.DemiBold
                                                    color: Theme.secondaryText
                                                }
                                            }
                                            Caption {
                                                objectName: "locationPath"
                                                Layout.fillWidth: true
                                                text: locationRow.modelData.displayPath
                                                elide: Text.ElideMiddle
                                            }
                                            Caption {
                                                objectName: "locationSize"
                                                text: Format.bytes(locationRow.modelData.bytes)
                                                font.weight: Font.DemiBold
                                                color: Theme.text
                                            }
                                            AppButton {
                                                objectName: "revealLocation"
                                                kind: "plain"
                                                iconName: "magnifyingglass"
                                                text: "Reveal in Finder"
                                                onClicked: Services.reveal(locationRow.modelData.path)
                                            }
                                        }
                                    }
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}
