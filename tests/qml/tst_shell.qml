import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The full app's shell: the disk figures, the sidebar's sections, Big Files
// and the History, on the temporary home.
Item {
    id: root
    width: 1240
    height: 800

    Shell { id: shell; anchors.fill: parent }

    ScreenCase {
        name: "Shell"
        scope: shell

        function select(section) {
            mouseClick(child("section_" + section))
            compare(shell.selection, section)
        }

        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            shell.selection = "overview"
        }

        function test_disk_figures_data() {
            return [{ tag: "readable", capacity: 500e9, free: 123.4e9, number: "123.4", unit: "GB",
                      line: "of 500 GB total · 75% used", mini: "123.4 GB free", used: "376.6 GB of 500 GB" },
                    { tag: "unreadable", capacity: 0, free: 0,
                      line: "of Zero KB total · 0% used" }]
        }
        function test_disk_figures(data) {
            Hooks.setFigures(data.capacity, data.free)
            compare(child("capacityLine").text, data.line)
            if (data.capacity > 0) {
                compare(child("miniFree").text, data.mini)
                compare(child("freeNumber").text, data.number)
                compare(child("freeUnit").text, data.unit)
                compare(child("miniUsed").text, data.used)
            } else {
                compare(child("gradientFill", child("diskBar")).width, 0)
            }
        }

        // The sections from top to bottom; choosing one shows its page alone.
        function test_sidebar_sections_in_order() {
            const order = [["overview", "overviewView"], ["xray", "xrayView"], ["explore", "exploreView"], ["profiles", "profilesView"],
                           ["devclean", "devCleanView"], ["activity", "activityView"], ["settings", "settingsView"]]
            compare(shell.sections.map(s => s.key), order.map(o => o[0]))
            let above = -1
            for (const [key, page] of order) {
                verify(child("section_" + key).y > above, key + " below the one before")
                above = child("section_" + key).y
                select(key)
                verify(child(page).visible, page)
                for (const [, other] of order)
                    verify(other === page || !child(other).visible, other + " hidden")
            }
            symbolsAreGlyphs(child("section_overview").parent)
        }

        function test_big_files_trash_asks_first_and_move_opens_the_sheet() {
            // Explore opens at Big Files, empty before a scan.
            select("explore")
            compare(child("exploreTabs").currentIndex, 0)
            verify(child("bigFilesView").visible)
            verify(child("bigFilesEmpty").visible)
            Hooks.seedBigFiles()
            const list = child("bigFilesList")
            tryCompare(list, "count", 2)
            verify(!child("bigFilesEmpty").visible)
            const path = Hooks.homePath() + "/Movies/Archive.zip"

            mouseClick(child("trashButton_0", list))
            const dialog = child("trashConfirmation")
            tryCompare(dialog, "opened", true)
            compare(dialog.contentItem.text, "Archive.zip (1.25 GB)\n" + path)
            mouseClick(child("cancelTrash", dialog.footer))
            tryCompare(dialog, "visible", false)
            verify(Hooks.exists(path))
            compare(list.count, 2)
            mouseClick(child("trashButton_0", list))
            tryCompare(dialog, "opened", true)
            mouseClick(child("confirmTrash", dialog.footer))
            tryCompare(list, "count", 1)
            verify(!Hooks.exists(path))

            mouseClick(child("moveButton_0", list))
            const sheet = child("bigFilesMoveSheet")
            tryCompare(sheet, "opened", true)
            compare(child("sheetItemDetail", sheet.contentItem).text, "1.25 GB · ~/Movies/Season 1.mkv")
            mouseClick(child("cancelMove", sheet.contentItem))
            tryCompare(sheet, "visible", false)
        }

        function test_history_restore() {
            select("activity")
            verify(child("movesView").visible) // Activity opens at Moves
            mouseClick(child("tab_History"))
            verify(child("historyEmpty").visible)
            const original = Hooks.seedHistory()
            verify(!Hooks.exists(original))
            const list = child("historyList")
            tryCompare(list, "count", 2)
            compare(child("operations").value, "2")
            compare(child("restorable").value, "1")
            compare(child("totalReclaimed").value, "4.2 GB")

            const row = child("historyRow_0", list)
            compare(row.summary, "Developer profile cleanup")
            compare(row.statusLabel, "In Trash · restorable")
            const restore = child("restoreButton", row)
            verify(!restore.visible) // closed row
            mouseClick(row, 100, 20)
            tryCompare(restore, "visible", true)
            verify(!child("revealExternal", row).visible)
            laidOut()
            mouseClick(restore)
            tryCompare(child("restorable"), "value", "0")
            const after = child("historyRow_0", list)
            compare(after.statusLabel, "Restored")
            compare(after.feedback, "Restored 3 items from Trash.")
            verify(Hooks.exists(original))
            verify(!child("restoreButton", after).visible)

            const moved = child("historyRow_1", list)
            mouseClick(moved, 100, 20)
            const reveal = child("revealExternal", moved)
            tryCompare(reveal, "visible", true)
            laidOut()
            mouseClick(reveal)
            compare(Hooks.lastRevealed(), "/media/Backup/Tessoly Storage/Final Cut")
        }
    }
}
