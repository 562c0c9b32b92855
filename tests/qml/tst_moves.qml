import QtQuick
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

        function driveRows() { return numbered("driveRow_") }
        function chooseFirstDrive() {
            tryVerify(() => driveRows().length > 0 && driveRows()[0].width > 0)
            mouseClick(driveRows()[0])
            verify(Services.moveSheet.selectedDriveId !== "")
        }
        function openSheet(relative) {
            Hooks.writeText(relative + "/clip.mov", "x".repeat(15000))
            sheet.openFor(Hooks.homePath() + "/" + relative, 15000)
            tryCompare(sheet, "opened", true)
        }
        // Allows or cancels the folder panel that a first move to a drive opens.
        function answerPanel(allow) {
            const panel = child("folderPanel", prompts)
            tryCompare(panel, "opened", true)
            mouseClick(child(allow ? "folderPanelAllow" : "folderPanelCancel", panel.contentItem))
            return panel
        }
        // The Moves page's rows by the name of what was moved.
        function rowsByName() {
            const byName = {}
            for (const row of numbered("record_", moves))
                byName[row.record.name] = row
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
            verify(child("driveCheck", rows[0]).visible && child("startMove").enabled)
        }

        // A cancelled folder panel fails in words and can be retried; once
        // allowed, the move ends in the success view and the grant is
        // remembered: the next move doesn't ask. Runs first (names sort): the
        // Moves page's bring-back below uses this grant on "Archive".
        function test_a_move_asks_for_a_folder_once() {
            setDrives([{ name: "Archive", format: "ext4", free: 500e9, total: 1000e9 }])
            openSheet("Movies/Footage")
            chooseFirstDrive()
            mouseClick(child("startMove"))
            const panel = answerPanel(false)
            tryCompare(child("moveStatus"), "text", "Couldn't copy to the external drive: No destination folder chosen on Archive.")
            verify(child("startMove").enabled && child("cancelMove").enabled)
            verify(!Hooks.isSymlink("Movies/Footage") && Hooks.exists("Movies/Footage/clip.mov"))
            mouseClick(child("startMove"))
            answerPanel(true)
            tryCompare(child("moveSuccess"), "visible", true, 10000)
            verify(Hooks.isSymlink("Movies/Footage"))
            verify(!child("startMove").visible)
            mouseClick(child("doneMove"))
            tryCompare(sheet, "visible", false)
            // The grant is remembered: the next move doesn't ask.
            openSheet("Music/Live")
            chooseFirstDrive()
            mouseClick(child("startMove"))
            tryCompare(child("moveSuccess"), "visible", true, 10000)
            verify(!panel.opened)
            verify(Hooks.isSymlink("Music/Live"))
        }

        function test_moves_page_figures_and_buttons_by_status() {
            tryVerify(() => child("movesEmpty", moves).visible)
            Hooks.seedMoves()
            tryVerify(() => findChild(moves, "record_2") !== null)
            laidOut(moves)
            const byName = rowsByName()
            verify(!child("movesEmpty", moves).visible)
            shows({ spaceFreed: "6 GB", activeSymlinks: "1", needsAttention: "2" }, moves)
            // Bring back shown and enabled, show on drive enabled: by the move's status.
            const expected = { Active: [true, true, true], Unplugged: [true, false, false], Gone: [false, false, false] }
            for (const name in expected) {
                const [back, show] = ["bringBack", "showOnDrive"].map(button => child(button, byName[name]))
                compare([back.visible, back.visible && back.enabled, back.visible && show.enabled], expected[name], name)
            }
            mouseClick(child("dismiss", byName.Gone))
            shows({ needsAttention: "1" }, moves)
            compare(Services.inventory.records.length, 2)
            // Bringing one back reports on its row.
            laidOut(moves)
            mouseClick(child("bringBack", rowsByName().Active))
            tryVerify(() => Services.inventory.activeCount === 0, 10000)
            verify(child("feedback", rowsByName().Active).text.startsWith("Brought back."))
            verify(!Hooks.isSymlink("Movies/Active") && Hooks.exists("Movies/Active/clip.mov"))
        }

        function test_offload_scan_of_a_home_with_nothing_to_offload() {
            mouseClick(child("scanOffload", moves))
            tryCompare(Services.offload, "hasScanned", true)
            verify(child("offloadNothing", moves).visible)
        }
    }
}
