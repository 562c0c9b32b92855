import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Duplicates screen on the temporary home: identical files written to the
// document folders, found by content, and all but one sent to the Trash.
Item {
    id: root
    width: 1240
    height: 900

    Component { id: duplicatesComponent; DuplicatesView { anchors.fill: parent } }

    TestCase {
        name: "Duplicates"
        when: windowShown

        readonly property int mib: 1048576
        readonly property var roots: ["Downloads", "Documents", "Desktop", "Movies", "Music", "Pictures"]

        function child(within, name) {
            const found = findChild(within, name)
            verify(found, name)
            return found
        }

        // Every value a property takes from now on, the present one first: a
        // fast scan may start and end within the click that starts it.
        function record(item, property) {
            // Lists are copied: a list property reads as a live view of the object.
            const now = () => { const v = item[property]; return typeof v === "object" && v !== null && v.length !== undefined ? Array.from(v) : v }
            const seen = [now()]
            item[property + "Changed"].connect(() => seen.push(now()))
            return seen
        }

        function box(item) {
            const at = item.mapToItem(root, 0, 0)
            return { left: at.x, top: at.y, right: at.x + item.width, bottom: at.y + item.height }
        }

        function scan(view) {
            const button = child(view, "scanButton")
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => !view.finder.isScanning, 20000, "the scan finished")
            wait(20) // let the rows lay out
        }

        // The document folders hold this test's files only.
        function init() {
            for (const folder of roots)
                Hooks.removePath(folder)
        }

        function cleanup() {
            root.width = 1240
            root.height = 900
            for (const folder of roots)
                Hooks.removePath(folder)
            Hooks.removePath(".local/share/Trash")
        }

        function test_nothing_found_yet() {
            const view = createTemporaryObject(duplicatesComponent, root)
            const header = child(view, "duplicatesHeader")
            compare(header.title, "Duplicates")
            compare(header.subtitle, "Identical files (verified by content hash) wasting space across your home folder.")
            const button = child(view, "scanButton")
            compare(button.text, "Scan for duplicates")
            compare(button.iconName, "magnifyingglass")
            verify(button.enabled)
            verify(!view.finder.isScanning) // nothing runs until asked

            const empty = child(view, "duplicatesEmpty")
            verify(empty.visible)
            compare(empty.iconName, "doc.on.doc")
            compare(empty.title, "No duplicates found yet")
            compare(empty.message,
                    "Click \"Scan for duplicates\" to compare files in Downloads, Documents, Desktop, Movies, Music and Pictures by content hash. Identical files are surfaced here for safe cleanup.")
            verify(!child(view, "groupsList").visible)
            compare(child(view, "groupCount").caption, "Duplicate groups")
            compare(child(view, "groupCount").value, "0")
            compare(child(view, "reclaimableNow").caption, "Reclaimable now")
            compare(child(view, "reclaimableNow").value, Format.bytes(0))
            verify(!child(view, "scanProgress").visible)
            verify(!child(view, "feedbackLine").visible)

            // Files that only look alike: one size with two contents, and twins under 1 MiB.
            Hooks.writeBytes("Documents/draft.pdf", 2 * mib, 1)
            Hooks.writeBytes("Downloads/draft.pdf", 2 * mib, 2)
            Hooks.writeBytes("Documents/small.bin", mib - 1, 3)
            Hooks.writeBytes("Desktop/small.bin", mib - 1, 3)
            scan(view)
            verify(empty.visible)
            compare(child(view, "groupCount").value, "0")
            compare(button.text, "Scan for duplicates")
        }

        function test_groups_and_keeping_one_copy() {
            const size = 1.5 * mib
            Hooks.writeBytes("Downloads/Report copy.pdf", size, 7)
            Hooks.writeBytes("Documents/Report.pdf", size, 7)
            Hooks.writeBytes("Desktop/Report (1).pdf", size, 7)
            Hooks.writeBytes("Music/mix.flac", 2 * mib, 9)
            Hooks.writeBytes("Pictures/Old/mix.flac", 2 * mib, 9)
            Hooks.writeBytes(".hidden/mix.flac", 2 * mib, 9) // outside the folders searched
            const view = createTemporaryObject(duplicatesComponent, root)

            // While the scan runs: the button spins and the progress shows.
            const button = child(view, "scanButton")
            const progress = child(view, "scanProgress")
            compare(progress.caption, "Progress")
            const texts = record(button, "text")
            const busy = record(button, "busy")
            const enabled = record(button, "enabled")
            const shown = record(progress, "visible")
            const steps = record(progress, "value")
            mouseClick(button)
            tryVerify(() => !view.finder.isScanning, 20000, "the scan finished")
            wait(20)
            compare(texts, ["Scan for duplicates", "Scanning…", "Scan for duplicates"])
            compare(busy, [false, true, false])
            compare(enabled, [true, false, true])
            compare(shown, [false, true, false])
            verify(steps.indexOf("Building file index…") >= 0, steps)
            verify(steps.indexOf("Found 5 candidate files. Hashing…") >= 0, steps)
            verify(!progress.visible)

            // Two groups, the one wasting most first.
            verify(!child(view, "duplicatesEmpty").visible)
            const list = child(view, "groupsList")
            compare(list.count, 2)
            compare(child(view, "groupCount").value, "2")
            compare(child(view, "reclaimableNow").value, Format.bytes(2 * size + 2 * mib))
            const reports = child(list, "groupRow_0")
            verify(["Report copy.pdf", "Report.pdf", "Report (1).pdf"].indexOf(child(reports, "groupName").text) >= 0)
            compare(child(reports, "groupCopies").text, "3 identical copies, " + Format.bytes(size) + " each")
            compare(child(reports, "groupWasted").text, Format.bytes(2 * size) + " reclaimable")
            compare(child(reports, "groupChevron").name, "chevron.right")
            verify(!child(reports, "groupFiles").visible)
            const mixes = child(list, "groupRow_1")
            compare(child(mixes, "groupName").text, "mix.flac")
            compare(child(mixes, "groupCopies").text, "2 identical copies, " + Format.bytes(2 * mib) + " each")
            compare(child(mixes, "groupWasted").text, Format.bytes(2 * mib) + " reclaimable")

            // Opened: each copy with its place and its two actions.
            mouseClick(child(reports, "groupHeader"))
            compare(child(reports, "groupChevron").name, "chevron.down")
            verify(child(reports, "groupFiles").visible)
            wait(20)
            const files = [0, 1, 2].map(i => child(reports, "file_" + i))
            compare(child(files[0], "fileName").text, child(reports, "groupName").text) // the row is named after its first file
            compare(files.map(f => child(f, "filePath").text).sort(),
                    ["~/Desktop/Report (1).pdf", "~/Documents/Report.pdf", "~/Downloads/Report copy.pdf"])
            for (const f of files) {
                compare(child(f, "revealFile").text, "Reveal in Finder")
                compare(child(f, "keepFile").text, "Keep this, trash others")
            }
            verify(box(child(reports, "groupFiles")).bottom <= box(child(list, "groupRow_1")).top + 0.5)
            const kept = files.find(f => child(f, "fileName").text === "Report.pdf")
            mouseClick(child(kept, "revealFile"))
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/Documents/Report.pdf")

            // Keep one: the others go to the Trash, the group leaves the list.
            mouseClick(child(kept, "keepFile"))
            wait(20)
            const feedback = child(view, "feedbackLine")
            verify(feedback.visible)
            compare(child(view, "feedbackText").text, "Kept Report.pdf, trashed the rest.")
            compare(child(view, "feedbackIcon").name, "checkmark.circle.fill")
            verify(Hooks.exists(Hooks.homePath() + "/Documents/Report.pdf"))
            verify(!Hooks.exists(Hooks.homePath() + "/Downloads/Report copy.pdf"))
            verify(!Hooks.exists(Hooks.homePath() + "/Desktop/Report (1).pdf"))
            compare(list.count, 1)
            compare(child(view, "groupCount").value, "1")
            compare(child(view, "reclaimableNow").value, Format.bytes(2 * mib))
            compare(child(child(list, "groupRow_0"), "groupName").text, "mix.flac")

            // The last group: the list is empty again.
            const last = child(list, "groupRow_0")
            mouseClick(child(last, "groupHeader"))
            wait(20)
            mouseClick(child(child(last, "file_1"), "keepFile"))
            wait(20)
            compare(child(view, "feedbackText").text, "Kept mix.flac, trashed the rest.")
            verify(child(view, "duplicatesEmpty").visible)
            compare(child(view, "groupCount").value, "0")
            compare(child(view, "reclaimableNow").value, Format.bytes(0))

            // A new scan starts without the last words.
            scan(view)
            verify(!feedback.visible)
            Hooks.removePath(".hidden")
        }

        // The screen's share of the smallest window: long names shorten in
        // their middle and stay clear of the sizes and buttons.
        function test_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            const name = "Quarterly planning meeting recording with the whole product team, final cut.mov"
            Hooks.writeBytes("Movies/" + name, 1.2 * mib, 4)
            Hooks.writeBytes("Downloads/" + name, 1.2 * mib, 4)
            const view = createTemporaryObject(duplicatesComponent, root)
            scan(view)
            const before = (a, b, what) => verify(box(a).right <= box(b).left + 0.5, what + ": " + box(a).right + " > " + box(b).left)
            before(child(view, "duplicatesHeader"), child(view, "scanButton"), "heading and button")
            before(child(view, "groupCount"), child(view, "reclaimableNow"), "the two figures")
            const row = child(child(view, "groupsList"), "groupRow_0")
            before(child(row, "groupName"), child(row, "groupWasted"), "name and size")
            verify(child(row, "groupName").truncated)
            mouseClick(child(row, "groupHeader"))
            wait(20)
            const file = child(row, "file_0")
            before(child(file, "fileName"), child(file, "revealFile"), "file name and reveal")
            before(child(file, "filePath"), child(file, "revealFile"), "path and reveal")
            before(child(file, "revealFile"), child(file, "keepFile"), "the two buttons")
            verify(box(child(file, "keepFile")).right <= root.width - 32, "the button inside the card")
        }
    }
}
