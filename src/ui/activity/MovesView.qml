import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Everything moved to an external drive, the way back for each, and big
// stale folders worth moving.
Item {
    id: view
    readonly property QtObject inventory: Services.inventory
    readonly property QtObject offload: Services.offload
    property var feedback: ({ id: "", message: "", success: false })
    property var working: ({}) // record ids being brought back

    function bringBack(id) {
        const next = Object.assign({}, working)
        next[id] = true
        working = next
        inventory.startBringBack(id)
    }

    onVisibleChanged: if (visible) inventory.refresh()
    Component.onCompleted: if (visible) inventory.refresh()

    Connections {
        target: view.inventory
        function onBringBackFinished(id, message, success) {
            const next = Object.assign({}, view.working)
            delete next[id]
            view.working = next
            view.feedback = { id: id, message: message, success: success }
        }
    }

    Flickable {
        id: page
        anchors.fill: parent
        contentHeight: column.implicitHeight + 2 * Theme.pageMargin
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: column
            x: Theme.pageMargin
            y: 20
            width: page.width - 2 * Theme.pageMargin
            spacing: Theme.gap

            RowLayout {
                Layout.fillWidth: true
                PageHeader {
                    Layout.fillWidth: true
                    title: "Moves"
                    subtitle: "Every folder Tessoly has moved to an external drive — bring any of them back with one click."
                }
                AppButton {
                    objectName: "refreshMoves"
                    text: "Refresh"
                    iconName: "arrow.clockwise"
                    enabled: !view.inventory.isRefreshing
                    onClicked: view.inventory.refresh()
                }
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.gap
                StatTile {
                    objectName: "spaceFreed"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    caption: "Space freed by moves"
                    value: Format.bytes(view.inventory.totalBytes)
                    iconName: "externaldrive.connected.to.line.below"
                    tint: Theme.violet
                }
                StatTile {
                    objectName: "activeSymlinks"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    caption: "Active symlinks"
                    value: String(view.inventory.activeCount)
                    iconName: "link.circle.fill"
                    tint: Theme.green
                }
                StatTile {
                    objectName: "needsAttention"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    caption: "Needs attention"
                    value: String(view.inventory.attentionCount)
                    iconName: "exclamationmark.triangle.fill"
                    tint: Theme.orange
                }
            }

            Card {
                objectName: "offloadCard"
                Layout.fillWidth: true
                implicitHeight: offloadColumn.implicitHeight + 2 * padding

                ColumnLayout {
                    id: offloadColumn
                    width: parent.width
                    spacing: 10
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 12
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 3
                            Heading {
                                text: "Worth offloading"
                            }
                            Caption {
                                Layout.fillWidth: true
                                text: "Big folders nothing has touched in 6+ months — move them to an external drive; a symlink keeps every path working."
                                wrapMode: Text.WordWrap
                            }
                        }
                        AppButton {
                            objectName: "scanOffload"
                            text: view.offload.isScanning ? "Scanning…" : view.offload.hasScanned ? "Re-scan" : "Find candidates"
                            iconName: view.offload.isScanning ? "" : "magnifyingglass"
                            enabled: !view.offload.isScanning
                            onClicked: view.offload.startScan()
                            BusyIndicator {
                                anchors.verticalCenter: parent.verticalCenter
                                anchors.right: parent.left
                                anchors.rightMargin: 6
                                width: 22
                                height: 22
                                running: view.offload.isScanning
                                visible: running
                            }
                        }
                    }
                    RowLayout {
                        objectName: "offloadNothing"
                        visible: view.offload.hasScanned && !view.offload.isScanning && view.offload.candidates.length === 0
                        spacing: 8
                        Icon { name: "checkmark.seal.fill"; size: 20; color: Theme.green }
                        Body {
                            text: "Nothing stale and large found — your big folders are all in active use."
                        }
                    }
                    Repeater {
                        model: view.offload.candidates
                        delegate: OffloadCandidateRow {
                            required property var modelData
                            required property int index
                            objectName: "candidate_" + index
                            Layout.fillWidth: true
                            candidate: modelData
                            onMoveRequested: sheet.openFor(modelData.url, modelData.bytes)
                        }
                    }
                }
            }

            Card {
                objectName: "recordsCard"
                Layout.fillWidth: true
                implicitHeight: records.implicitHeight + 2 * padding
                padding: 8

                ColumnLayout {
                    id: records
                    width: parent.width
                    spacing: 2

                    EmptyState {
                        objectName: "movesEmpty"
                        Layout.fillWidth: true
                        Layout.topMargin: 24
                        Layout.bottomMargin: 24
                        visible: view.inventory.records.length === 0
                        iconName: "externaldrive.badge.plus"
                        title: "No moves yet"
                        message: "From Big Files, click the external-drive icon next to any large file or folder. Tessoly will copy it to your external drive and leave a symlink behind. Every move shows up here so you can reverse it any time."
                    }

                    Repeater {
                        model: view.inventory.records
                        delegate: MoveRecordRow {
                            required property var modelData
                            required property int index
                            objectName: "record_" + index
                            Layout.fillWidth: true
                            record: modelData
                            busy: view.working[modelData.id] === true
                            feedback: view.feedback.id === modelData.id ? view.feedback.message : ""
                            feedbackSuccess: view.feedback.success
                            onBringBackRequested: view.bringBack(modelData.id)
                            onDismissRequested: view.inventory.dismiss(modelData.id)
                        }
                    }
                }
            }
        }
    }

    MoveToExternalSheet {
        id: sheet
        onClosed: {
            view.inventory.refresh()
            view.offload.dropMovedCandidates()
        }
    }
}
