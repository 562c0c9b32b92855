import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Duplicates: files with identical content in the person's own folders,
// grouped, with one copy kept and the rest sent to the Trash on request.
// The finder belongs to this screen; a scan starts on the button only.
Item {
    id: view
    readonly property var finder: Services.newDuplicateFinder(view)
    readonly property var groups: finder.groups
    readonly property bool scanning: finder.isScanning
    property string expandedId: "" // the open group
    property string feedback: "" // what the last keep did

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            PageHeader {
                objectName: "duplicatesHeader"
                Layout.fillWidth: true
                title: "Duplicates"
                subtitle: "Identical files (verified by content hash) wasting space across your home folder."
            }
            AppButton {
                objectName: "scanButton"
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 2
                kind: "primary"
                iconName: "magnifyingglass"
                busy: view.scanning
                enabled: !view.scanning
                text: view.scanning ? "Scanning…" : "Scan for duplicates"
                onClicked: {
                    view.feedback = ""
                    view.expandedId = ""
                    view.finder.startScan()
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            StatTile {
                objectName: "groupCount"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                showIcon: width >= 190
                caption: "Duplicate groups"
                value: String(view.groups.length)
                iconName: "doc.on.doc"
                tint: Theme.indigo
            }
            StatTile {
                objectName: "reclaimableNow"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                showIcon: width >= 190
                caption: "Reclaimable now"
                value: Format.bytes(view.finder.totalReclaimable)
                iconName: "sparkles"
                tint: Theme.green
            }
            StatTile {
                objectName: "scanProgress"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                visible: view.scanning
                showIcon: false
                caption: "Progress"
                value: view.finder.scanProgress
                valueSize: 14
            }
        }

        Caption {
            objectName: "refusedFolders"
            Layout.fillWidth: true
            visible: view.finder.refusedFolders.length > 0
            text: view.finder.refusedFolders.join(" ")
            wrapMode: Text.WordWrap
            color: Theme.secondaryText
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8

            EmptyState {
                objectName: "duplicatesEmpty"
                anchors.centerIn: parent
                width: Math.min(parent.width - 32, 460)
                visible: view.groups.length === 0
                iconName: "doc.on.doc"
                title: "No duplicates found yet"
                message: "Click \"Scan for duplicates\" to compare files in Downloads, Documents, Desktop, Movies, Music and Pictures by content hash. Identical files are surfaced here for safe cleanup."
            }

            ListView {
                id: list
                objectName: "groupsList"
                anchors.fill: parent
                visible: view.groups.length > 0
                clip: true
                model: view.groups
                spacing: 2
                ScrollBar.vertical: ScrollBar {}
                delegate: Item {
                    id: groupRow
                    required property var modelData
                    required property int index
                    readonly property bool expanded: view.expandedId === modelData.id
                    objectName: "groupRow_" + index
                    width: ListView.view.width
                    height: rowColumn.implicitHeight

                    ColumnLayout {
                        id: rowColumn
                        width: parent.width
                        spacing: 0

                        Rectangle {
                            objectName: "groupHeader"
                            Layout.fillWidth: true
                            implicitHeight: 56
                            radius: Theme.smallRadius
                            color: headerHover.hovered || groupRow.expanded ? Theme.selection : "transparent"
                            HoverHandler { id: headerHover }
                            MouseArea {
                                anchors.fill: parent
                                cursorShape: Qt.PointingHandCursor
                                onClicked: view.expandedId = groupRow.expanded ? "" : groupRow.modelData.id
                            }

                            RowLayout {
                                anchors.fill: parent
                                anchors.leftMargin: 8
                                anchors.rightMargin: 14
                                spacing: 10
                                Icon {
                                    objectName: "groupChevron"
                                    name: groupRow.expanded ? "chevron.down" : "chevron.right"
                                    size: 20
                                    color: Theme.mutedText
                                }
                                Rectangle {
                                    implicitWidth: 34; implicitHeight: 34; radius: 10
                                    color: Theme.pale(Theme.indigo)
                                    Icon { anchors.centerIn: parent; name: "doc.on.doc.fill"; size: 18; color: Theme.indigo }
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    RowTitle {
                                        objectName: "groupName"
                                        Layout.fillWidth: true
                                        text: groupRow.modelData.name
                                        elide: Text.ElideMiddle
                                    }
                                    Caption {
                                        objectName: "groupCopies"
                                        Layout.fillWidth: true
                                        text: groupRow.modelData.files.length + " identical copies, "
                                              + Format.bytes(groupRow.modelData.bytes) + " each"
                                        elide: Text.ElideRight
                                    }
                                }
                                Body {
                                    objectName: "groupWasted"
                                    text: Format.bytes(groupRow.modelData.wastedBytes) + " reclaimable"
                                    font.weight: Font.DemiBold
                                    color: Theme.green
                                }
                            }
                        }

                        // Opened: the copies, each one a candidate to keep.
                        ColumnLayout {
                            objectName: "groupFiles"
                            Layout.fillWidth: true
                            Layout.leftMargin: 52
                            Layout.rightMargin: 8
                            Layout.topMargin: 4
                            Layout.bottomMargin: 10
                            visible: groupRow.expanded
                            spacing: 6
                            Repeater {
                                model: groupRow.expanded ? groupRow.modelData.files : []
                                delegate: ColumnLayout {
                                    id: fileRow
                                    required property var modelData
                                    required property int index
                                    objectName: "file_" + index
                                    Layout.fillWidth: true
                                    spacing: 6
                                    Hairline { visible: fileRow.index > 0 }
                                    RowLayout {
                                        Layout.fillWidth: true
                                        spacing: 10
                                        Icon { name: "doc"; size: 18; color: Theme.tertiaryText }
                                        ColumnLayout {
                                            Layout.fillWidth: true
                                            spacing: 1
                                            Body {
                                                objectName: "fileName"
                                                Layout.fillWidth: true
                                                text: fileRow.modelData.name
                                                elide: Text.ElideMiddle
                                                font.weight: Font.Medium
                                                color: Theme.text
                                            }
                                            Caption {
                                                objectName: "filePath"
                                                Layout.fillWidth: true
                                                text: fileRow.modelData.displayPath
                                                elide: Text.ElideMiddle
                                            }
                                        }
                                        AppButton {
                                            objectName: "revealFile"
                                            kind: "plain"
                                            iconName: "magnifyingglass"
                                            text: "Reveal in Finder"
                                            onClicked: Services.reveal(fileRow.modelData.path)
                                        }
                                        AppButton {
                                            objectName: "keepFile"
                                            iconName: "checkmark.circle.fill"
                                            text: "Keep this, trash others"
                                            onClicked: view.feedback = view.finder.keepFile(groupRow.modelData.id, fileRow.modelData.path)
                                        }
                                    }
                                }
                            }
                        }
                    }
                }
            }
        }

        // The last keep's outcome, under the list.
        RowLayout {
            objectName: "feedbackLine"
            Layout.fillWidth: true
            visible: view.feedback !== ""
            spacing: 6
            Icon {
                objectName: "feedbackIcon"
                Layout.alignment: Qt.AlignTop
                name: view.feedback.endsWith("trashed the rest.") ? "checkmark.circle.fill" : "exclamationmark.triangle.fill"
                size: 16
                color: view.feedback.endsWith("trashed the rest.") ? Theme.green : Theme.orange
            }
            Caption {
                objectName: "feedbackText"
                Layout.fillWidth: true
                text: view.feedback
                wrapMode: Text.WordWrap
                font.weight: Font.Medium
                color: Theme.secondaryText
            }
        }
    }
}
