import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The move sheet with drives scripted as folders of the temporary home, and
// the Moves page's records of moves made.
Item {
    id: root
    width: 1240
    height: 1300 // the whole Moves page at once

    MovesView { id: moves; anchors.fill: parent }
    MoveToExternalSheet { id: sheet }
    PromptDialogs { id: prompts; anchors.fill: parent }

    ScreenCase {
        name: "Moves"
        scope: sheet.contentItem

        function driveRows() {
            const rows = []
            for (let i = 0; findChild(scope, "driveRow_" + i); ++i)
                rows.push(findChild(scope, "driveRow_" + i))
            return rows
        }

        function chooseFirstDrive() {
            tryVerify(() => driveRows().length > 0 && driveRows()[0].width > 0)
            mouseClick(driveRows()[0])
            verify(Services.moveSheet.selectedDriveId !== "")
        }

        function openSheet(relative) {
            Hooks.writeText(relative + "/clip.mov", "x".repeat(15000))
            const path = Hooks.homePath() + "/" + relative
            sheet.openFor(path, 15000)
            tryCompare(sheet, "opened", true)
            return path
        }

        // Allows or cancels the folder panel that a first move to a drive opens.
        function answerPanel(allow) {
            const panel = child("folderPanel", prompts)
            tryCompare(panel, "opened", true)
            mouseClick(child(allow ? "folderPanelAllow" : "folderPanelCancel", panel.contentItem))
            return panel
        }

        // Three recorded moves (see Hooks.seedMoves), their rows by name.
        function seedMoves() {
            Hooks.seedMoves()
            tryVerify(() => findChild(moves, "record_2") !== null)
            laidOut(moves)
            return rowsByName()
        }
        function rowsByName() {
            const byName = {}
            for (let i = 0; findChild(moves, "record_" + i); ++i)
                byName[findChild(moves, "record_" + i).record.name] = findChild(moves, "record_" + i)
            return byName
        }

        function cleanup() {
            if (sheet.opened)
                sheet.close()
            tryCompare(sheet, "visible", false)
            Hooks.clearHistory()
            Services.inventory.refresh()
        }

        function test_only_a_supported_drive_with_room_can_be_chosen() {
            setDrives([])
            openSheet("Movies/Footage")
            verify(child("noDrives").visible)
            compare(child("sheetItemName").text, "Footage")
            verify(child("sheetItemDetail").text.endsWith(" · ~/Movies/Footage"))
            verify(!child("startMove").enabled)
            sheet.close()

            setDrives([{ name: "Archive", format: "ext4", free: 500e9, total: 1000e9 },
                       { name: "Tiny", format: "ext4", free: 1000, total: 2000 },
                       { name: "Stick", format: "ExFAT", free: 60e9, total: 64e9 }])
            openSheet("Movies/Footage")
            tryVerify(() => driveRows().length === 3 && driveRows()[2].width > 0)
            verify(!child("noDrives").visible)
            // Largest free space first; each refusal says why.
            const rows = driveRows()
            compare(child("driveSpace", rows[0]).text, "500 GB free of 1,000 GB")
            verify(!child("driveNote", rows[0]).visible)
            verify(child("driveNote", rows[1]).text.startsWith("ExFAT drives can't"))
            compare(child("driveNote", rows[2]).text, "Not enough free space — needs 15 KB")
            mouseClick(rows[1])
            mouseClick(rows[2])
            compare(Services.moveSheet.selectedDriveId, "")
            verify(!child("startMove").enabled)
            mouseClick(rows[0])
            verify(child("driveCheck", rows[0]).visible)
            verify(child("startMove").enabled)
        }

        function test_cancelled_panel_fails_in_words_and_can_be_retried() {
            setDrives([{ name: "Backup", format: "ext4", free: 500e9, total: 1000e9 }])
            openSheet("Movies/Footage")
            chooseFirstDrive()
            mouseClick(child("startMove"))
            const panel = answerPanel(false)
            compare(child("folderPanelTitle", panel.contentItem).text, "Allow Tessoly access to Backup")
            tryCompare(child("moveStatus"), "text", "Couldn't copy to the external drive: No destination folder chosen on Backup.")
            verify(child("startMove").enabled && child("cancelMove").enabled)
            // A second try asks again and starts over.
            mouseClick(child("startMove"))
            tryCompare(panel, "opened", true)
            compare(child("moveStatus").text, "Preparing…")
            answerPanel(false)
            tryCompare(Services.moveSheet, "working", false)
        }

        function test_a_granted_move_ends_in_the_success_view() {
            setDrives([{ name: "Archive", format: "ext4", free: 500e9, total: 1000e9 }])
            const path = openSheet("Movies/Footage")
            chooseFirstDrive()
            mouseClick(child("startMove"))
            const panel = answerPanel(true)
            tryCompare(child("moveSuccess"), "visible", true, 10000)
            verify(Hooks.isSymlink(path))
            verify(!child("startMove").visible)
            mouseClick(child("doneMove"))
            tryCompare(sheet, "visible", false)
            // The grant is remembered: the next move doesn't ask.
            const second = openSheet("Music/Live")
            chooseFirstDrive()
            mouseClick(child("startMove"))
            tryCompare(child("moveSuccess"), "visible", true, 10000)
            verify(!panel.opened)
            verify(Hooks.isSymlink(second))
        }

        function test_moves_page_figures_and_buttons_by_status() {
            Services.inventory.refresh()
            verify(child("movesEmpty", moves).visible)
            compare(child("spaceFreed", moves).value, Format.bytes(0))
            compare(child("activeSymlinks", moves).value, "0")
            const byName = seedMoves()
            verify(!child("movesEmpty", moves).visible)
            compare(child("spaceFreed", moves).value, "6 GB")
            compare(child("activeSymlinks", moves).value, "1")
            compare(child("needsAttention", moves).value, "2")
            // [status, bring back shown, bring back enabled, show on drive enabled]
            const expected = { Active: ["Active", true, true, true], Unplugged: ["Drive unplugged", true, false, false],
                               Gone: ["Broken", false, false, false] }
            for (const name in expected) {
                const [status, shown, enabled, reveal] = expected[name]
                compare(child("statusLabel", byName[name]).text, status)
                compare(child("bringBack", byName[name]).visible, shown, name)
                if (shown) {
                    compare(child("bringBack", byName[name]).enabled, enabled, name)
                    compare(child("showOnDrive", byName[name]).enabled, reveal, name)
                }
            }
            mouseClick(child("dismiss", byName.Gone))
            compare(child("needsAttention", moves).value, "1")
            compare(Services.inventory.records.length, 2)

            // Bringing one back reports on its row.
            laidOut(moves)
            mouseClick(child("bringBack", rowsByName().Active))
            tryVerify(() => Services.inventory.activeCount === 0, 10000)
            compare(child("feedback", rowsByName().Active).text,
                    "Brought back. Original location is the real folder again — external copy moved to Trash as a safety net.")
        }

        function test_offload_button_before_and_after_a_scan() {
            const button = child("scanOffload", moves)
            compare(button.text, "Find candidates")
            mouseClick(button)
            tryCompare(Services.offload, "hasScanned", true)
            compare(button.text, "Re-scan")
            verify(child("offloadNothing", moves).visible)
        }
    }
}
