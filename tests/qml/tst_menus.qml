import QtQuick
import QtTest
import Tessoly
import TessolyTest

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

    TestCase {
        name: "Menus"
        when: windowShown

        function saveDialog() { return findChild(prompts, "saveDialog") }

        function initTestCase() {
            exports.target = findChild(menuBar, "exportReportAction")
            verify(exports.target)
        }

        function cleanup() {
            if (saveDialog().visible)
                saveDialog().reject()
            tryCompare(saveDialog(), "visible", false)
            answers.clear()
            exports.clear()
        }

        function test_file_and_help_menus() {
            const titles = []
            for (let i = 0; i < menuBar.count; ++i)
                titles.push(menuBar.menuAt(i).title)
            compare(titles, ["File", "Help"])

            const file = findChild(menuBar, "fileMenu")
            mouseClick(findChild(menuBar, "menuTitle_File"))
            tryCompare(file, "opened", true)
            compare(file.count, 4)
            compare(file.itemAt(0).text, "Export Storage Report…")
            compare(file.itemAt(0).action.shortcut, "Ctrl+Shift+E")
            compare(file.itemAt(2).text, "Close Window")
            compare(file.itemAt(2).action.shortcut, "Ctrl+W")
            compare(file.itemAt(3).text, "Quit Tessoly")
            compare(file.itemAt(3).action.shortcut, "Ctrl+Q")
            for (let i = 0; i < file.count; ++i)
                verify(file.itemAt(i).text === undefined || file.itemAt(i).text.indexOf("New") !== 0)
            keyClick(Qt.Key_Escape)
            tryCompare(file, "visible", false)

            const help = findChild(menuBar, "helpMenu")
            compare(help.count, 1)
            compare(help.itemAt(0).text, "Show Welcome Tour")
        }

        function test_export_from_the_menu_and_by_shortcut_from_anywhere() {
            const file = findChild(menuBar, "fileMenu")
            mouseClick(findChild(menuBar, "menuTitle_File"))
            tryCompare(file, "opened", true)
            mouseClick(file.itemAt(0))
            compare(exports.count, 1)
            tryCompare(file, "visible", false)
            cleanup()

            // With the focus in a text field of the page.
            field.forceActiveFocus()
            verify(field.activeFocus)
            keyClick(Qt.Key_E, Qt.ControlModifier | Qt.ShiftModifier)
            compare(exports.count, 1)
        }

        function test_save_panel_answers_with_a_local_path() {
            const folder = Hooks.homePath() + "/Reports #1"
            Hooks.makeFolder("Reports #1")
            Services.prompter.saveFileRequested("Export Storage Report", "Tessoly Report 2024.pdf", folder, ["PDF (*.pdf)"])
            const dialog = saveDialog()
            tryCompare(dialog, "visible", true)
            compare(dialog.title, "Export Storage Report")
            compare(dialog.nameFilters, ["PDF (*.pdf)"])
            compare(prompts.localPath(dialog.currentFolder), folder)
            compare(prompts.localPath(dialog.selectedFile), folder + "/Tessoly Report 2024.pdf")
            dialog.accept()
            tryCompare(answers, "count", 1)
            compare(answers.signalArguments[0][0], folder + "/Tessoly Report 2024.pdf")
            tryCompare(dialog, "visible", false)
        }

        function test_cancelled_save_panel_answers_nothing() {
            Services.prompter.saveFileRequested("Export Storage Report", "Report.pdf", Hooks.homePath(), ["PDF (*.pdf)"])
            tryCompare(saveDialog(), "visible", true)
            saveDialog().reject()
            tryCompare(answers, "count", 1)
            compare(answers.signalArguments[0][0], "")
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
