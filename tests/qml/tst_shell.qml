import QtQuick
import Tessoly
import TessolyTest

// The full app's shell on the temporary home: the disk figures, the sidebar's
// sections, Big Files, the cleanup profiles and the History.
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

        // A profile opened with every target ticked.
        function openProfile(id) {
            select("profiles")
            const view = child("profilesView")
            view.selectedProfile = ""
            click(child("profile_" + id, view))
            tryCompare(view, "selectedProfile", id)
            tryVerify(() => view.selectedTargetIds.length === view.targets.length, 5000)
            laidOut()
            return view
        }

        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            shell.selection = "overview"
        }

        function test_disk_figures() {
            shows({ capacityLine: "of 500 GB total · 75% used", miniFree: "123.4 GB free", freeNumber: "123.4", freeUnit: "GB",
                    miniUsed: "376.6 GB of 500 GB" })
            Hooks.setFigures(0, 0)
            compare(child("capacityLine").text, "of Zero KB total · 0% used")
            compare(child("gradientFill", child("diskBar")).width, 0)
        }

        // The sections from top to bottom; choosing one shows its page alone.
        function test_sidebar_sections_in_order() {
            const order = [["overview", "overviewView"], ["xray", "xrayView"], ["explore", "exploreView"], ["profiles", "profilesView"],
                           ["devclean", "devCleanView"], ["activity", "activityView"], ["settings", "settingsView"]]
            let above = -1
            for (const [key, page] of order) {
                verify(child("section_" + key).y > above, key + " below the one before")
                above = child("section_" + key).y
                select(key)
                for (const [, other] of order)
                    compare(child(other).visible, other === page, other)
            }
            symbolsAreGlyphs(child("section_overview").parent)
        }

        function test_big_files_trash_asks_first_and_move_opens_the_sheet() {
            select("explore") // opens at Big Files, empty before a scan
            showing({ bigFilesView: true, bigFilesEmpty: true })
            Hooks.seedBigFiles()
            const list = child("bigFilesList")
            tryCompare(list, "count", 2)
            verify(!child("bigFilesEmpty").visible)
            const path = Hooks.homePath() + "/Movies/Archive.zip"
            // Cancelled, the file stays; confirmed, it goes.
            const dialog = child("trashConfirmation")
            for (const confirm of [false, true]) {
                mouseClick(child("trashButton_0", list))
                tryCompare(dialog, "opened", true)
                compare(dialog.contentItem.text, "Archive.zip (1.25 GB)\n" + path)
                mouseClick(child(confirm ? "confirmTrash" : "cancelTrash", dialog.footer))
                tryCompare(dialog, "visible", false)
                tryCompare(list, "count", confirm ? 1 : 2)
                compare(Hooks.exists(path), !confirm)
            }
            mouseClick(child("moveButton_0", list))
            const sheet = child("bigFilesMoveSheet")
            tryCompare(sheet, "opened", true)
            compare(child("sheetItemDetail", sheet.contentItem).text, "1.25 GB · ~/Movies/Season 1.mkv") // the row's own file
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
            shows({ operations: "2", restorable: "1", totalReclaimed: "4.2 GB" })
            // A row opens to its actions: a cleanup restores from the Trash, a move reveals its copy.
            const row = child("historyRow_0", list)
            compare(row.summary, "Developer profile cleanup")
            const restore = child("restoreButton", row)
            verify(!restore.visible) // closed row
            mouseClick(row, 100, 20)
            tryCompare(restore, "visible", true)
            verify(!child("revealExternal", row).visible)
            laidOut()
            mouseClick(restore)
            tryCompare(child("restorable"), "value", "0")
            compare(child("historyRow_0", list).feedback, "Restored 3 items from Trash.")
            verify(Hooks.exists(original))
            verify(!child("restoreButton", child("historyRow_0", list)).visible)
            const moved = child("historyRow_1", list)
            mouseClick(moved, 100, 20)
            const reveal = child("revealExternal", moved)
            tryCompare(reveal, "visible", true)
            laidOut()
            mouseClick(reveal)
            compare(Hooks.lastRevealed(), "/media/Backup/Tessoly Storage/Final Cut")
        }

        // What each target holds here, the ticks and the sum, and a clean of the ticked ones.
        function test_profiles_ticks_sum_and_clean() {
            let view = openProfile("iosDeveloper") // nothing of it here, nothing to clean
            verify(view.targets.every(t => !/\d/.test(child("sizeText", child("targetRow_" + t.id, view)).text)), "no sizes shown")
            shows({ reclaimableSum: Format.bytes(0) }, view)
            verify(!child("cleanButton", view).enabled && !child("profileGrid", view).visible)
            click(child("backToProfiles", view))
            verify(view.selectedProfile === "" && child("profileGrid", view).visible)
            // Chrome's cache of 3 items, Firefox's of 1.
            for (const name of ["data_0", "data_1", "index"])
                Hooks.writeText(Hooks.located("Library/Caches/Google/Chrome") + "/" + name, "c".repeat(200000))
            Hooks.writeText(Hooks.located("Library/Caches/Firefox") + "/cache2/blob", "f".repeat(100000))
            view = openProfile("generalUser")
            const [chrome, firefox, safari] = ["chrome", "firefox", "safari"].map(id => child("targetRow_user." + id, view))
            tryCompare(child("itemsText", chrome), "text", "3 items")
            // Each row says where its folder is here: Chrome's cache under the XDG cache folder,
            // Safari's (no counterpart) where it would be on a Mac.
            compare(child("locationText", chrome).text, "~/.cache/google-chrome")
            compare(child("locationText", safari).text, "~/Library/Caches/com.apple.Safari")
            const both = view.selectedBytes
            shows({ reclaimableSum: Format.bytes(both), cleanButton: "Clean " + Format.bytes(both) }, view)
            click(chrome) // untick Chrome
            const firefoxOnly = view.selectedBytes
            verify(firefoxOnly < both)
            compare(child("reclaimableSum", view).text, Format.bytes(firefoxOnly))
            click(child("cleanButton", view))
            tryCompare(view, "working", false, 10000)
            compare(view.lastFreed, firefoxOnly)
            verify(child("reclaimedNote", view).visible)
            verify(!Hooks.exists(Hooks.located("Library/Caches/Firefox") + "/cache2"))
            verify(Hooks.exists(Hooks.located("Library/Caches/Google/Chrome") + "/index"))
            tryCompare(child("sizeText", firefox), "text", Format.bytes(0))
            symbolsAreGlyphs(view)
        }
    }
}
