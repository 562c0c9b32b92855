import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Pick a drive, then watch the item being copied, verified and replaced by
// a symlink. The move itself runs in the move controller.
Dialog {
    id: sheet
    objectName: "moveSheet"
    readonly property QtObject controller: Services.moveSheet
    readonly property QtObject drives: Services.drives

    // Opens the sheet for an item (path and size in bytes).
    function openFor(path, bytes) {
        controller.open(path, bytes)
        open()
    }

    anchors.centerIn: parent
    modal: true
    width: Math.min(520, parent ? parent.width - 40 : 520)
    padding: 24
    closePolicy: controller.working ? Popup.NoAutoClose : Popup.CloseOnEscape
    background: Rectangle {
        radius: Theme.radius
        color: Theme.dark ? "#1E293B" : "white"
        border.color: Theme.hairline
    }

    contentItem: ColumnLayout {
        spacing: 14

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 3
            Title {
                text: "Move to external drive"
            }
            Body {
                objectName: "sheetItemName"
                Layout.fillWidth: true
                text: sheet.controller.itemName
                elide: Text.ElideMiddle
                font.weight: Font.DemiBold
            }
            Caption {
                objectName: "sheetItemDetail"
                Layout.fillWidth: true
                text: Format.bytes(sheet.controller.itemBytes) + " · " + sheet.controller.itemDisplayPath
                elide: Text.ElideMiddle
            }
        }

        // The drives, until the move has succeeded.
        ColumnLayout {
            Layout.fillWidth: true
            visible: !sheet.controller.succeeded
            spacing: 6

            ColumnLayout {
                objectName: "noDrives"
                Layout.fillWidth: true
                Layout.topMargin: 8
                Layout.bottomMargin: 8
                visible: sheet.drives.drives.length === 0
                spacing: 6
                Icon { Layout.alignment: Qt.AlignHCenter; name: "externaldrive"; size: 34; color: Theme.mutedText }
                RowTitle {
                    Layout.alignment: Qt.AlignHCenter
                    text: "No external drives detected"
                }
                Caption {
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    text: "Connect an APFS-formatted external drive and try again. ExFAT drives aren't supported because symlinks misbehave on them."
                }
            }

            // Scrolls when there are more drives than the window has room for.
            ListView {
                objectName: "driveList"
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(contentHeight, Math.max(140, (sheet.parent ? sheet.parent.height : 640) - 330))
                visible: count > 0
                clip: true
                spacing: 6
                interactive: contentHeight > height
                boundsBehavior: Flickable.StopAtBounds
                model: sheet.drives.drives
                ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
                delegate: DriveRow {
                    required property var modelData
                    required property int index
                    objectName: "driveRow_" + index
                    width: ListView.view.width
                    drive: modelData
                    itemBytes: sheet.controller.itemBytes
                    selected: sheet.controller.selectedDriveId === modelData.id
                    choosable: modelData.isSupported && modelData.freeBytes >= sheet.controller.itemBytes
                               && !sheet.controller.working
                    onChosen: sheet.controller.selectDrive(modelData.id)
                }
            }
        }

        // The result, once the symlink stands.
        ColumnLayout {
            objectName: "moveSuccess"
            Layout.fillWidth: true
            visible: sheet.controller.succeeded
            spacing: 8
            RowLayout {
                spacing: 8
                Icon { name: "checkmark.circle.fill"; size: 26; color: Theme.green }
                Heading {
                    text: "Moved successfully"
                }
            }
            Body {
                objectName: "moveSuccessText"
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: sheet.controller.disposedToTrash
                      ? "Apps will keep finding the data at the original path. The original is in the Trash — empty the Trash to free the space on this disk."
                      : "Apps will keep finding the data at the original path. The original was deleted — the space is free now, and your copy lives on the external drive."
                lineHeight: 1.25
            }
            Caption {
                Layout.fillWidth: true
                text: sheet.controller.symlinkPath + "  →  " + sheet.controller.movedTo
                wrapMode: Text.WrapAnywhere
            }
        }

        // Where the move is.
        RowLayout {
            Layout.fillWidth: true
            visible: sheet.controller.hasProgress && !sheet.controller.succeeded
            spacing: 8
            Icon {
                visible: sheet.controller.failed
                name: "exclamationmark.triangle.fill"
                size: 18
                color: Theme.orange
                Layout.alignment: Qt.AlignTop
            }
            Body {
                objectName: "moveStatus"
                Layout.fillWidth: true
                text: sheet.controller.progressText
                wrapMode: Text.WordWrap
                color: sheet.controller.failed ? Theme.text : Theme.secondaryText
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 4
            spacing: 8
            Item { Layout.fillWidth: true }
            AppButton {
                objectName: "cancelMove"
                visible: !sheet.controller.succeeded
                text: "Cancel"
                enabled: !sheet.controller.working
                onClicked: sheet.close()
            }
            AppButton {
                objectName: "startMove"
                visible: !sheet.controller.succeeded
                kind: "primary"
                text: sheet.controller.working ? "" : "Move and symlink"
                enabled: sheet.controller.selectedDriveId !== "" && !sheet.controller.working
                implicitWidth: Math.max(implicitContentWidth + leftPadding + rightPadding, 150)
                onClicked: sheet.controller.start()
                BusyIndicator {
                    anchors.centerIn: parent
                    width: 22
                    height: 22
                    palette.dark: "white"
                    running: sheet.controller.working
                    visible: running
                }
            }
            AppButton {
                objectName: "doneMove"
                visible: sheet.controller.succeeded
                kind: "primary"
                text: "Done"
                onClicked: sheet.close()
            }
        }
    }
}
