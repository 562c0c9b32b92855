import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Tessoly

// The questions services ask: the folder panel of a write grant, the save
// panel and alerts. Each answer goes back to the prompter that asked.
Item {
    id: dialogs
    readonly property QtObject prompter: Services.prompter

    // A local path as a file URL, each segment encoded ("#", "?", "%" and
    // blanks are parts of names, not of the URL).
    function fileUrl(path) {
        return "file://" + path.split("/").map(encodeURIComponent).join("/")
    }
    // A file URL back to the local path it names ("file:///p", "file://host/p",
    // "file:/p"); "" for anything else.
    function localPath(url) {
        const match = /^file:(\/\/[^\/]*)?(\/.*)$/.exec(url.toString())
        if (match === null)
            return ""
        try {
            return decodeURIComponent(match[2])
        } catch (error) {
            return "" // not text a path can be made of
        }
    }

    Connections {
        target: dialogs.prompter
        function onFolderRequested(title, message, prompt, folder) {
            panel.heading = title
            panel.message = message
            panel.prompt = prompt
            panel.folder = folder
            panel.open()
        }
        function onSaveFileRequested(title, suggestedName, folder, nameFilters) {
            saver.title = title
            saver.nameFilters = nameFilters
            saver.currentFolder = dialogs.fileUrl(folder)
            saver.selectedFile = dialogs.fileUrl(folder.replace(/\/+$/, "") + "/" + suggestedName)
            saver.parentWindow = dialogs.Window.window
            saver.open()
        }
        function onAlertRequested(title, text, buttons) {
            alert.heading = title
            alert.text = text
            alert.buttons = buttons
            alert.open()
        }
    }

    Dialog {
        id: panel
        objectName: "folderPanel"
        property string heading
        property string message
        property string prompt
        property string folder
        property bool answered: false
        anchors.centerIn: parent
        modal: true
        width: Math.min(520, dialogs.width - 40)
        padding: 24
        closePolicy: Popup.CloseOnEscape
        onOpened: answered = false
        onClosed: if (!answered) dialogs.prompter.answerFolder("")
        background: Rectangle { radius: Theme.radius; color: Theme.dark ? "#1E293B" : "white"; border.color: Theme.hairline }

        function finish(path) {
            answered = true
            close()
            dialogs.prompter.answerFolder(path)
        }

        contentItem: ColumnLayout {
            spacing: 12
            Heading {
                objectName: "folderPanelTitle"
                Layout.fillWidth: true
                text: panel.heading
                wrapMode: Text.WordWrap
            }
            Body {
                objectName: "folderPanelMessage"
                Layout.fillWidth: true
                text: panel.message
                wrapMode: Text.WordWrap
                lineHeight: 1.25
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 8
                Icon { name: "folder"; size: 20; color: Theme.indigo }
                TextField {
                    id: folderField
                    objectName: "folderField"
                    Layout.fillWidth: true
                    text: panel.folder
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.bodySize
                    onTextEdited: panel.folder = text
                }
                AppButton {
                    text: "Choose…"
                    onClicked: {
                        picker.parentWindow = dialogs.Window.window
                        picker.open()
                    }
                }
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 8
                Item { Layout.fillWidth: true }
                AppButton {
                    objectName: "folderPanelCancel"
                    text: "Cancel"
                    onClicked: panel.finish("")
                }
                AppButton {
                    objectName: "folderPanelAllow"
                    kind: "primary"
                    text: panel.prompt
                    enabled: panel.folder !== ""
                    onClicked: panel.finish(panel.folder)
                }
            }
        }
    }

    FolderDialog {
        id: picker
        title: panel.heading
        currentFolder: dialogs.fileUrl(panel.folder)
        acceptLabel: panel.prompt
        onAccepted: panel.folder = dialogs.localPath(selectedFolder)
    }

    FileDialog {
        id: saver
        objectName: "saveDialog"
        fileMode: FileDialog.SaveFile
        acceptLabel: "Save"
        onAccepted: dialogs.prompter.answerSaveFile(dialogs.localPath(selectedFile))
        onRejected: dialogs.prompter.answerSaveFile("")
    }

    Dialog {
        id: alert
        objectName: "alertDialog"
        property string heading
        property string text
        property var buttons: []
        property bool answered: false
        anchors.centerIn: parent
        modal: true
        width: Math.min(520, dialogs.width - 40)
        padding: 24
        closePolicy: Popup.CloseOnEscape
        onOpened: answered = false
        onClosed: if (!answered) dialogs.prompter.answerAlert(buttons.length - 1)
        background: Rectangle { radius: Theme.radius; color: Theme.dark ? "#1E293B" : "white"; border.color: Theme.hairline }

        contentItem: ColumnLayout {
            spacing: 12
            RowLayout {
                spacing: 10
                Icon { name: "exclamationmark.triangle.fill"; size: 24; color: Theme.orange }
                Heading {
                    objectName: "alertTitle"
                    Layout.fillWidth: true
                    text: alert.heading
                    wrapMode: Text.WordWrap
                }
            }
            Body {
                objectName: "alertText"
                Layout.fillWidth: true
                text: alert.text
                wrapMode: Text.WordWrap
                lineHeight: 1.25
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 8
                Item { Layout.fillWidth: true }
                Repeater {
                    model: alert.buttons
                    delegate: AppButton {
                        required property string modelData
                        required property int index
                        objectName: "alertButton_" + index
                        kind: index === 0 ? "primary" : "secondary"
                        text: modelData
                        onClicked: {
                            alert.answered = true
                            alert.close()
                            dialogs.prompter.answerAlert(index)
                        }
                    }
                }
            }
        }
    }
}
