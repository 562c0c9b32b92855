import QtQuick
import QtTest
import Tessoly
import TessolyTest

Item {
    id: root
    width: 1240
    height: 800

    Shell { id: shell; anchors.fill: parent }

    TestCase {
        name: "Shell"
        when: windowShown

        function select(section) {
            mouseClick(findChild(shell, "section_" + section))
            compare(shell.selection, section)
        }

        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            shell.selection = "overview"
        }

        function test_overview_disk_card() {
            compare(findChild(shell, "freeNumber").text, "123.4")
            compare(findChild(shell, "freeUnit").text, "GB")
            compare(findChild(shell, "capacityLine").text, "of 500 GB total · 75% used")
            compare(findChild(shell, "miniFree").text, "123.4 GB free")
            compare(findChild(shell, "miniUsed").text, "376.6 GB of 500 GB")
        }

        function test_unreadable_volume_shows_an_empty_bar() {
            Hooks.setFigures(0, 0)
            compare(findChild(shell, "capacityLine").text, "of Zero KB total · 0% used")
            const bar = findChild(shell, "diskBar")
            compare(findChild(bar, "gradientFill").width, 0)
        }

        function test_sidebar_lists_the_seven_sections() {
            verify(findChild(shell, "section_overview"))
            verify(findChild(shell, "section_explore"))
            verify(findChild(shell, "section_activity"))
            verify(findChild(shell, "section_profiles"))
            // Dev Clean stands between Profiles and Activity.
            const devClean = findChild(shell, "section_devclean")
            compare(devClean.label, "Dev Clean")
            compare(devClean.iconName, "wrench.and.screwdriver")
            verify(findChild(shell, "section_profiles").y < devClean.y)
            verify(devClean.y < findChild(shell, "section_activity").y)
            // X-Ray stands between Overview and Explore.
            const xray = findChild(shell, "section_xray")
            compare(xray.label, "X-Ray")
            compare(xray.iconName, "rays")
            verify(findChild(shell, "section_overview").y < xray.y)
            verify(xray.y < findChild(shell, "section_explore").y)
            select("xray")
            verify(findChild(shell, "xrayView").visible)
            select("devclean")
            verify(findChild(shell, "devCleanView").visible)
            select("explore")
            verify(findChild(shell, "exploreView").visible)
            select("activity")
            verify(findChild(shell, "activityView").visible)
            // Settings closes the list, after Activity.
            compare(shell.sections.map(s => s.key), ["overview", "xray", "explore", "profiles", "devclean", "activity", "settings"])
            const settings = findChild(shell, "section_settings")
            compare(settings.label, "Settings")
            compare(settings.iconName, "gearshape.fill")
            verify(findChild(shell, "section_activity").y < settings.y)
            select("settings")
            verify(findChild(shell, "settingsView").visible)
            verify(!findChild(shell, "activityView").visible)
        }

        function test_explore_tabs() {
            select("explore")
            compare(findChild(shell, "exploreTabs").labels, ["Big Files", "Apps", "Duplicates", "Search"])
            compare(findChild(shell, "exploreTabs").currentIndex, 0)
            verify(findChild(shell, "bigFilesView").visible)
        }

        function test_big_files_empty_state() {
            select("explore")
            const empty = findChild(shell, "bigFilesEmpty")
            verify(empty.visible)
            compare(empty.title, "No files found yet")
            compare(empty.message, "Run a scan from the Overview tab to populate this list.")
        }

        function test_move_to_trash_asks_first() {
            Hooks.seedBigFiles()
            select("explore")
            const list = findChild(shell, "bigFilesList")
            tryCompare(list, "count", 2)
            verify(!findChild(shell, "bigFilesEmpty").visible)
            const path = Hooks.homePath() + "/Movies/Archive.zip"

            mouseClick(findChild(list, "trashButton_0"))
            const dialog = findChild(shell, "trashConfirmation")
            tryCompare(dialog, "opened", true)
            compare(dialog.contentItem.text, "Archive.zip (1.25 GB)\n" + path)
            mouseClick(findChild(dialog.footer, "cancelTrash"))
            tryCompare(dialog, "visible", false)
            verify(Hooks.exists(path))
            compare(list.count, 2)

            mouseClick(findChild(list, "trashButton_0"))
            tryCompare(dialog, "opened", true)
            mouseClick(findChild(dialog.footer, "confirmTrash"))
            tryCompare(list, "count", 1)
            verify(!Hooks.exists(path))
        }

        function test_big_files_row_opens_the_move_sheet() {
            Hooks.seedBigFiles()
            select("explore")
            const list = findChild(shell, "bigFilesList")
            tryCompare(list, "count", 2)
            const button = findChild(list, "moveButton_1")
            mouseClick(button)
            const sheet = findChild(shell, "bigFilesMoveSheet")
            tryCompare(sheet, "opened", true)
            compare(findChild(sheet.contentItem, "sheetItemName").text, "Season 1.mkv")
            compare(findChild(sheet.contentItem, "sheetItemDetail").text, "1.25 GB · ~/Movies/Season 1.mkv")
            mouseClick(findChild(sheet.contentItem, "cancelMove"))
            tryCompare(sheet, "visible", false)
        }

        function test_history_restore() {
            select("activity")
            verify(findChild(shell, "movesView").visible) // Activity opens at Moves
            mouseClick(findChild(shell, "tab_History"))
            verify(findChild(shell, "historyEmpty").visible)
            const original = Hooks.seedHistory()
            verify(!Hooks.exists(original))
            const list = findChild(shell, "historyList")
            tryCompare(list, "count", 2)
            compare(findChild(shell, "operations").value, "2")
            compare(findChild(shell, "restorable").value, "1")
            compare(findChild(shell, "totalReclaimed").value, "4.2 GB")

            const row = findChild(list, "historyRow_0")
            compare(row.summary, "Developer profile cleanup")
            compare(row.statusLabel, "In Trash · restorable")
            const restore = findChild(row, "restoreButton")
            verify(!restore.visible) // closed row
            mouseClick(row, 100, 20)
            tryCompare(row, "expanded", true)
            tryCompare(restore, "visible", true)
            verify(!findChild(row, "revealExternal").visible)
            wait(20) // let the rows lay out
            mouseClick(restore)

            tryCompare(findChild(shell, "restorable"), "value", "0")
            const after = findChild(list, "historyRow_0")
            compare(after.statusLabel, "Restored")
            compare(after.feedback, "Restored 3 items from Trash.")
            verify(Hooks.exists(original))
            verify(!findChild(after, "restoreButton").visible)

            const moved = findChild(list, "historyRow_1")
            mouseClick(moved, 100, 20)
            tryCompare(moved, "expanded", true)
            const reveal = findChild(moved, "revealExternal")
            tryCompare(reveal, "visible", true)
            wait(20) // let the rows lay out
            mouseClick(reveal)
            compare(Hooks.revealed[Hooks.revealed.length - 1], "/media/Backup/Tessoly Storage/Final Cut")
        }
    }
}
