import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The menu bar's export action and the save panel it leads to.
Item {
    id: root
    width: 980
    height: 640

    AppMenuBar { id: menuBar; width: parent.width }
    Item {
        id: page
        anchors.top: menuBar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        TextInput { id: field; objectName: "field"; width: 200; height: 30; text: "focus lives here" }
        PromptDialogs { id: prompts; anchors.fill: parent }
    }

    SignalSpy { id: exports; signalName: "triggered" }
    SignalSpy { id: answers; target: Services.prompter; signalName: "saveFileAnswered" }

    ScreenCase {
        name: "Menus"

        function saveDialog() { return child("saveDialog", prompts) }

        function initTestCase() {
            exports.target = child("exportReportAction", menuBar)
        }

        function cleanup() {
            if (saveDialog().visible)
                saveDialog().reject()
            tryCompare(saveDialog(), "visible", false)
            answers.clear()
            exports.clear()
        }

        function test_export_from_the_menu_and_by_shortcut_from_anywhere() {
            const file = child("fileMenu", menuBar)
            mouseClick(child("menuTitle_File", menuBar))
            tryCompare(file, "opened", true)
            mouseClick(file.itemAt(0))
            compare(exports.count, 1)
            tryCompare(file, "visible", false)

            // With the focus in a text field of the page.
            field.forceActiveFocus()
            verify(field.activeFocus)
            keyClick(Qt.Key_E, Qt.ControlModifier | Qt.ShiftModifier)
            compare(exports.count, 2)
        }

        function test_save_panel_data() {
            return [{ tag: "accepted", accept: true }, { tag: "cancelled", accept: false }]
        }
        // The panel opens where asked and answers with a local path, or nothing when cancelled.
        function test_save_panel(data) {
            const folder = Hooks.homePath() + "/Reports #1"
            Hooks.writeText("Reports #1/notes.txt", "")
            Services.prompter.saveFileRequested("Export Storage Report", "Tessoly Report 2024.pdf", folder, ["PDF (*.pdf)"])
            const dialog = saveDialog()
            tryCompare(dialog, "visible", true)
            compare(dialog.title, "Export Storage Report")
            compare(dialog.nameFilters, ["PDF (*.pdf)"])
            compare(prompts.localPath(dialog.currentFolder), folder)
            compare(prompts.localPath(dialog.selectedFile), folder + "/Tessoly Report 2024.pdf")
            if (data.accept)
                dialog.accept()
            else
                dialog.reject()
            tryCompare(answers, "count", 1)
            compare(answers.signalArguments[0][0], data.accept ? folder + "/Tessoly Report 2024.pdf" : "")
            tryCompare(dialog, "visible", false)
        }

        function test_file_urls_and_paths() {
            compare(prompts.fileUrl("/home/me/A b#1%/é.pdf"), "file:///home/me/A%20b%231%25/%C3%A9.pdf")
            compare(prompts.localPath("file:///home/me/A%20b%231%25/%C3%A9.pdf"), "/home/me/A b#1%/é.pdf")
            compare(prompts.localPath(prompts.fileUrl("/tmp/x?y.pdf")), "/tmp/x?y.pdf")
            compare(prompts.localPath("file://localhost/tmp/a%20b.pdf"), "/tmp/a b.pdf")
            compare(prompts.localPath("https://example.com/x.pdf"), "")
        }
    }
}
