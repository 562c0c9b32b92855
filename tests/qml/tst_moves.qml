import QtQuick
import QtTest
import Tessoly
import TessolyTest

Item {
    id: root
    width: 1240
    height: 1300 // the whole Moves page at once

    MovesView { id: moves; anchors.fill: parent }
    MoveToExternalSheet { id: sheet }
    PromptDialogs { id: prompts; anchors.fill: parent }

    TestCase {
        name: "Moves"
        when: windowShown

        function driveRows() {
            const rows = []
            for (let i = 0; findChild(sheet.contentItem, "driveRow_" + i); ++i)
                rows.push(findChild(sheet.contentItem, "driveRow_" + i))
            return rows
        }

        function setDrives(drives) {
            Hooks.setDrives(drives)
            const names = drives.map(d => d.name).sort().join(",")
            tryVerify(() => Services.drives.drives.map(d => d.name).sort().join(",") === names)
        }

        function chooseFirstDrive() {
            tryVerify(() => driveRows().length > 0 && driveRows()[0].width > 0)
            mouseClick(driveRows()[0])
            verify(Services.moveSheet.selectedDriveId !== "")
        }

        function openSheet(bytes) {
            const path = Hooks.makeFolder("Movies/Footage")
            sheet.openFor(path, bytes)
            tryCompare(sheet, "opened", true)
            return path
        }

        function cleanup() {
            if (sheet.opened)
                sheet.close()
            tryCompare(sheet, "visible", false)
            Hooks.clearHistory()
            Services.inventory.refresh()
        }

        function test_no_drives_leaves_nothing_to_start() {
            setDrives([])
            openSheet(15000)
            verify(findChild(sheet.contentItem, "noDrives").visible)
            compare(findChild(sheet.contentItem, "sheetItemName").text, "Footage")
            verify(findChild(sheet.contentItem, "sheetItemDetail").text.indexOf(" · ~/Movies/Footage") > 0)
            verify(!findChild(sheet.contentItem, "startMove").enabled)
        }

        function test_only_a_supported_drive_with_room_can_be_chosen() {
            setDrives([{ name: "Archive", format: "ext4", free: 500e9, total: 1000e9 },
                       { name: "Tiny", format: "ext4", free: 1000, total: 2000 },
                       { name: "Stick", format: "ExFAT", free: 60e9, total: 64e9 }])
            openSheet(15000)
            tryVerify(() => driveRows().length === 3 && driveRows()[2].width > 0)
            const rows = driveRows()
            compare(findChild(rows[0], "driveSpace").text, "500 GB free of 1,000 GB")
            verify(!findChild(rows[0], "driveNote").visible)
            // Largest free space first.
            compare(findChild(rows[1], "driveNote").text,
                    "ExFAT drives can't reliably host symlinked app data. Format as APFS to use this drive.")
            compare(findChild(rows[2], "driveNote").text, "Not enough free space — needs 15 KB")
            mouseClick(rows[1])
            mouseClick(rows[2])
            compare(Services.moveSheet.selectedDriveId, "")
            verify(!findChild(sheet.contentItem, "startMove").enabled)
            mouseClick(rows[0])
            verify(findChild(rows[0], "driveCheck").visible)
            verify(findChild(sheet.contentItem, "startMove").enabled)
        }

        function test_cancelled_panel_fails_in_words_and_can_be_retried() {
            setDrives([{ name: "Backup", format: "ext4", free: 500e9, total: 1000e9 }])
            openSheet(15000)
            chooseFirstDrive()
            mouseClick(findChild(sheet.contentItem, "startMove"))
            const panel = findChild(prompts, "folderPanel")
            tryCompare(panel, "opened", true)
            compare(findChild(panel.contentItem, "folderPanelTitle").text, "Allow Tessoly access to Backup")
            mouseClick(findChild(panel.contentItem, "folderPanelCancel"))
            tryCompare(findChild(sheet.contentItem, "moveStatus"), "text",
                       "Couldn't copy to the external drive: No destination folder chosen on Backup.")
            verify(findChild(sheet.contentItem, "startMove").enabled)
            verify(findChild(sheet.contentItem, "cancelMove").enabled)
            // A second try asks again and starts over.
            mouseClick(findChild(sheet.contentItem, "startMove"))
            tryCompare(panel, "opened", true)
            compare(findChild(sheet.contentItem, "moveStatus").text, "Preparing…")
            mouseClick(findChild(panel.contentItem, "folderPanelCancel"))
            tryCompare(Services.moveSheet, "working", false)
        }

        function test_a_granted_move_ends_in_the_success_view() {
            setDrives([{ name: "Archive", format: "ext4", free: 500e9, total: 1000e9 }])
            const path = openSheet(15000)
            chooseFirstDrive()
            mouseClick(findChild(sheet.contentItem, "startMove"))
            const panel = findChild(prompts, "folderPanel")
            tryCompare(panel, "opened", true)
            mouseClick(findChild(panel.contentItem, "folderPanelAllow"))
            tryCompare(findChild(sheet.contentItem, "moveSuccess"), "visible", true, 10000)
            compare(findChild(sheet.contentItem, "moveSuccessText").text,
                    "Apps will keep finding the data at the original path. The original is in the Trash — empty the Trash to free the space on this disk.")
            verify(Hooks.isSymlink(path))
            verify(!findChild(sheet.contentItem, "startMove").visible)
            mouseClick(findChild(sheet.contentItem, "doneMove"))
            tryCompare(sheet, "visible", false)
            // The grant is remembered: the next move doesn't ask.
            const second = Hooks.makeFolder("Music/Live")
            sheet.openFor(second, 15000)
            tryCompare(sheet, "opened", true)
            chooseFirstDrive()
            mouseClick(findChild(sheet.contentItem, "startMove"))
            tryCompare(findChild(sheet.contentItem, "moveSuccess"), "visible", true, 10000)
            verify(!panel.opened)
            verify(Hooks.isSymlink(second))
        }

        function test_moves_page_figures_and_buttons_by_status() {
            Services.inventory.refresh()
            verify(findChild(moves, "movesEmpty").visible)
            compare(findChild(moves, "spaceFreed").value, "Zero KB")
            compare(findChild(moves, "activeSymlinks").value, "0")
            Hooks.seedMoves()
            wait(50) // the new rows are laid out
            verify(!findChild(moves, "movesEmpty").visible)
            compare(findChild(moves, "spaceFreed").value, "6 GB")
            compare(findChild(moves, "activeSymlinks").value, "1")
            compare(findChild(moves, "needsAttention").value, "2")
            const byName = {}
            for (let i = 0; i < 3; ++i) {
                const row = findChild(moves, "record_" + i)
                byName[row.record.name] = row
            }
            compare(findChild(byName["Active"], "statusLabel").text, "Active")
            verify(findChild(byName["Active"], "bringBack").enabled)
            verify(findChild(byName["Active"], "showOnDrive").enabled)
            compare(findChild(byName["Unplugged"], "statusLabel").text, "Drive unplugged")
            verify(findChild(byName["Unplugged"], "bringBack").visible)
            verify(!findChild(byName["Unplugged"], "bringBack").enabled)
            verify(!findChild(byName["Unplugged"], "showOnDrive").enabled)
            compare(findChild(byName["Gone"], "statusLabel").text, "Broken")
            verify(!findChild(byName["Gone"], "bringBack").visible)
            mouseClick(findChild(byName["Gone"], "dismiss"))
            compare(findChild(moves, "needsAttention").value, "1")
            compare(Services.inventory.records.length, 2)
        }

        function test_bring_back_reports_on_its_row() {
            Hooks.seedMoves()
            wait(50)
            let active = null
            for (let i = 0; i < 3; ++i)
                if (findChild(moves, "record_" + i).record.name === "Active")
                    active = findChild(moves, "record_" + i)
            mouseClick(findChild(active, "bringBack"))
            tryVerify(() => Services.inventory.activeCount === 0, 10000)
            let feedback = ""
            for (let i = 0; i < 3; ++i) {
                const row = findChild(moves, "record_" + i)
                if (row.record.name === "Active")
                    feedback = findChild(row, "feedback").text
            }
            compare(feedback, "Brought back. Original location is the real folder again — external copy moved to Trash as a safety net.")
        }

        function test_offload_button_before_and_after_a_scan() {
            const button = findChild(moves, "scanOffload")
            compare(button.text, "Find candidates")
            mouseClick(button)
            tryCompare(Services.offload, "hasScanned", true)
            compare(button.text, "Re-scan")
            verify(findChild(moves, "offloadNothing").visible)
        }
    }
}
