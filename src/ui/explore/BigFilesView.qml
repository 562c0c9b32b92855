import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Big files found in scanned locations, with reveal and trash per row.
Item {
    id: view
    property var scanner: Services.scanner
    property var pendingTrash: null // the row waiting for confirmation
    property var selectedItem: null // the row whose move sheet is open

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap

        PageHeader {
            Layout.fillWidth: true
            title: "Big Files"
            subtitle: "Files larger than 500 MB in your scanned locations"
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8

            EmptyState {
                objectName: "bigFilesEmpty"
                anchors.centerIn: parent
                visible: list.count === 0
                iconName: "doc.text.magnifyingglass"
                title: "No files found yet"
                message: "Run a scan from the Overview tab to populate this list."
            }

            ListView {
                id: list
                objectName: "bigFilesList"
                anchors.fill: parent
                clip: true
                model: view.scanner.bigFiles
                spacing: 2
                delegate: Rectangle {
                    id: row
                    required property var modelData
                    required property int index
                    width: ListView.view.width
                    height: 54
                    radius: Theme.smallRadius
                    color: rowHover.hovered ? Theme.selection : "transparent"
                    HoverHandler { id: rowHover }

                    RowLayout {
                        anchors.fill: parent
                        anchors.leftMargin: 12
                        anchors.rightMargin: 8
                        spacing: 12
                        Icon { name: row.modelData.isDirectory ? "folder" : "doc"; size: 22; color: Theme.indigo }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 1
                            Body {
                                Layout.fillWidth: true
                                text: row.modelData.name
                                elide: Text.ElideMiddle
                                font.weight: Font.DemiBold
                                color: Theme.text
                            }
                            Caption {
                                Layout.fillWidth: true
                                text: row.modelData.path
                                elide: Text.ElideMiddle
                            }
                        }
                        Body {
                            text: Format.bytes(row.modelData.bytes)
                            font.weight: Font.DemiBold
                        }
                        AppButton {
                            objectName: "moveButton_" + row.index
                            iconName: "externaldrive.badge.plus"
                            ToolTip.visible: hovered
                            ToolTip.text: "Move to external drive (creates a symlink at the original location)"
                            onClicked: {
                                view.selectedItem = row.modelData
                                moveSheet.openFor(row.modelData.path, row.modelData.bytes)
                            }
                        }
                        AppButton {
                            text: "Reveal in Finder"
                            iconName: "magnifyingglass"
                            onClicked: Services.reveal(row.modelData.path)
                        }
                        AppButton {
                            objectName: "trashButton_" + row.index
                            text: "Move to Trash"
                            kind: "destructive"
                            iconName: "trash"
                            onClicked: {
                                view.pendingTrash = row.modelData
                                confirm.open()
                            }
                        }
                    }
                }
            }
        }
    }

    MoveToExternalSheet {
        id: moveSheet
        objectName: "bigFilesMoveSheet"
        onClosed: view.selectedItem = null
    }

    Dialog {
        id: confirm
        objectName: "trashConfirmation"
        anchors.centerIn: parent
        modal: true
        width: Math.min(440, view.width - 40)
        padding: 22
        background: Rectangle {
            radius: Theme.radius
            color: Theme.dark ? "#1E293B" : "white"
            border.color: Theme.hairline
        }
        header: RowLayout {
            spacing: 10
            Item { width: 12 }
            Icon {
                Layout.topMargin: 20
                name: "exclamationmark.triangle.fill"
                size: 26
                color: Theme.orange
            }
            Heading {
                Layout.topMargin: 20
                text: "Move to Trash?"
            }
        }
        contentItem: Body {
            objectName: "trashConfirmationText"
            text: view.pendingTrash ? view.pendingTrash.name + " (" + Format.bytes(view.pendingTrash.bytes) + ")\n" + view.pendingTrash.path : ""
            wrapMode: Text.WrapAnywhere
            lineHeight: 1.3
        }
        footer: RowLayout {
            spacing: 8
            Item { Layout.fillWidth: true }
            AppButton {
                objectName: "cancelTrash"
                text: "Cancel"
                Layout.bottomMargin: 18
                onClicked: confirm.reject()
            }
            AppButton {
                objectName: "confirmTrash"
                text: "Move to Trash"
                kind: "destructive"
                Layout.bottomMargin: 18
                Layout.rightMargin: 18
                onClicked: confirm.accept()
            }
        }
        onAccepted: {
            if (view.pendingTrash)
                view.scanner.trashItemWithId(view.pendingTrash.id)
            view.pendingTrash = null
        }
        onRejected: view.pendingTrash = null
    }
}
