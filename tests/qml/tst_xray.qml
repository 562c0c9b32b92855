import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The X-Ray screen on the temporary home: real caches and a real Trash
// measured, opened, cleaned and shown.
Item {
    id: root
    width: 1240
    height: 900

    XRayView { id: view; anchors.fill: parent }

    Component { id: iconComponent; Icon { size: 20 } }

    TestCase {
        name: "XRay"
        when: windowShown

        readonly property var xray: Services.xray
        readonly property int mib: 1048576

        function child(name, within) {
            const found = findChild(within === undefined ? view : within, name)
            verify(found, name)
            return found
        }

        // Clicks an item of the page after scrolling it into view.
        function click(item) {
            const flick = child("xrayScroll").contentItem
            const y = item.mapToItem(flick.contentItem, 0, 0).y
            flick.contentY = Math.max(0, Math.min(y - 40, flick.contentHeight - flick.height))
            wait(0)
            mouseClick(item)
        }

        function scan() {
            const button = child("scanButton")
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => xray.hasScanned && !xray.isScanning, 30000, "a scan finished")
            wait(20) // let the rows lay out
        }

        function row(id) { return findChild(view, "slice_" + id) }
        function sliceOf(id) { return xray.slices.find(s => s.id === id) }
        function indexOf(id) { return xray.slices.findIndex(s => s.id === id) }

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

        function cleanup() {
            root.width = 1240
            root.height = 900
            view.expandedSliceId = ""
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_before_the_first_scan() {
            verify(!xray.hasScanned)
            const header = child("xrayHeader")
            compare(header.title, "System Data X-Ray")
            compare(header.subtitle, "macOS hides gigabytes behind one number called \"System Data\". This decodes it.")
            const button = child("scanButton")
            compare(button.text, "Run X-Ray")
            verify(button.enabled)
            verify(!button.busy)
            verify(child("introCard").visible)
            compare(child("introTitle").text, "What's actually in your System Data?")
            compare(child("introBody").text,
                    "Apple's storage settings lump caches, logs, old iPhone backups, Time Machine snapshots, Docker images and more into one unexplained number — often 50-200 GB. Run the X-Ray to see every contributor, what it is, and what's safe to do about it.")
            verify(!child("summaryCard").visible)
            verify(!child("slicesCard").visible)
        }

        function test_b_scan_lists_the_slices_and_cleans_app_caches() {
            Hooks.makeAllocated(".cache/foo/blob.bin", 24 * mib)
            Hooks.makeAllocated(".local/share/Trash/files/old-notes.txt", 3 * mib)
            Hooks.writeText(".local/share/Trash/info/old-notes.txt.trashinfo",
                            "[Trash Info]\nPath=/tmp/old-notes.txt\nDeletionDate=2024-01-01T10:00:00\n")

            // While the scan runs the button spins and can't start another.
            const button = child("scanButton")
            const busy = record(button, "busy")
            const enabled = record(button, "enabled")
            mouseClick(button)
            tryVerify(() => xray.hasScanned && !xray.isScanning, 30000, "a scan finished")
            wait(20)
            compare(busy, [false, true, false])
            compare(enabled, [true, false, true])

            compare(button.text, "Re-scan")
            verify(button.enabled)
            verify(!button.busy)
            verify(!child("introCard").visible)
            verify(child("summaryCard").visible)
            verify(child("slicesCard").visible)

            // The summary: the decoded total and when.
            const total = xray.slices.reduce((sum, s) => sum + s.bytes, 0)
            verify(total >= 27 * mib)
            compare(child("decodedTotal").text, Format.bytes(total))
            compare(child("decodedCaption").text, "decoded")
            verify(/^scanned \d+ seconds? ago$/.test(child("scannedAt").text), child("scannedAt").text)
            compare(child("listTitle").text, "Inside the number")
            compare(child("contributorCount").text, xray.slices.length + " contributors")

            // One row per slice, in the service's order.
            let lastTop = -1
            for (const slice of xray.slices) {
                const r = row(slice.id)
                verify(r, slice.id)
                verify(box(r).top > lastTop, slice.id + " below the one before")
                lastTop = box(r).top
            }

            // The bar: one segment per slice, each as wide as its share.
            const bar = child("sliceBar")
            for (const slice of xray.slices) {
                const segment = child("segment_" + slice.id, bar)
                const share = bar.width * slice.bytes / total
                verify(Math.abs(segment.width - share) <= 2.01, slice.id + ": " + segment.width + " for " + share)
            }
            const caches = child("segment_xray.usercaches", bar)
            compare(caches.children[0].color, Theme.tint("accent"))

            // App caches: what it is, how big, and the verdict.
            const appCaches = row("xray.usercaches")
            verify(appCaches)
            verify(sliceOf("xray.usercaches").bytes >= 24 * mib)
            compare(child("sliceName", appCaches).text, "App caches")
            compare(child("sliceDetail", appCaches).text,
                    "Working files apps rebuild automatically — browsers, Spotify, Xcode, everything.")
            compare(child("sliceSize", appCaches).text, Format.bytes(sliceOf("xray.usercaches").bytes))
            compare(child("sliceBadge", appCaches).text, "Safe to clear")
            compare(child("sliceIcon", appCaches).name, "archivebox")
            compare(child("sliceChevron", appCaches).name, "chevron.right")
            verify(!child("sliceDetails", appCaches).visible)

            // Opened: why, and the Clean button.
            click(child("sliceHeader", appCaches))
            compare(view.expandedSliceId, "xray.usercaches")
            compare(child("sliceChevron", appCaches).name, "chevron.down")
            verify(child("sliceDetails", appCaches).visible)
            compare(child("whyTitle", appCaches).text, "Why?")
            compare(child("sliceExplanation", appCaches).text,
                    "Every app keeps a cache folder in ~/Library/Caches to avoid re-downloading or re-computing things. macOS counts all of it as System Data and never shows you which app is hoarding. Clearing is safe: apps rebuild what they actually need, though the first launch afterwards can be slower.")
            const clean = child("actionButton", appCaches)
            compare(clean.text, "Clean")
            verify(clean.visible)
            verify(clean.enabled)
            verify(!child("sliceResult", appCaches).visible)

            // The Trash: shown, not cleaned. Opening it closes the other row.
            const trash = row("xray.trash")
            verify(trash)
            compare(child("sliceName", trash).text, "Trash")
            compare(child("sliceBadge", trash).text, "Empty via Finder")
            click(child("sliceHeader", trash))
            compare(view.expandedSliceId, "xray.trash")
            verify(!child("sliceDetails", appCaches).visible)
            const show = child("actionButton", trash)
            compare(show.text, "Show in Finder")
            wait(20)
            click(show)
            compare(Hooks.revealed[Hooks.revealed.length - 1], sliceOf("xray.trash").revealPath)
            compare(sliceOf("xray.trash").revealPath, Hooks.homePath() + "/.local/share/Trash")
            verify(!child("sliceResult", trash).visible)

            // Clean: the button spins and is closed to more clicks while it works,
            // then the outcome shows beside a checkmark. The slice keeps its place.
            const place = indexOf("xray.usercaches")
            const before = sliceOf("xray.usercaches").bytes
            click(child("sliceHeader", appCaches))
            wait(20)
            const busyClean = record(clean, "busy")
            const enabledClean = record(clean, "enabled")
            const spinner = record(child("sliceSpinner", appCaches), "visible")
            const working = record(xray, "workingSliceIds")
            click(clean)
            tryVerify(() => xray.workingSliceIds.length === 0 && xray.results["xray.usercaches"] !== undefined, 20000)
            wait(20)
            verify(working.some(ids => ids.length === 1 && ids[0] === "xray.usercaches"), JSON.stringify(working))
            verify(busyClean.indexOf(true) >= 0)
            verify(enabledClean.indexOf(false) >= 0)
            verify(spinner.indexOf(true) >= 0)

            // The rows are drawn anew from the re-measured slices.
            const cleaned = row("xray.usercaches")
            const result = child("sliceResult", cleaned)
            verify(result.visible)
            const message = child("resultText", cleaned).text
            verify(/^Moved .+ to the Trash — empty the Trash to finish\.$/.test(message), message)
            compare(child("resultIcon", cleaned).name, "checkmark.circle.fill")
            const again = child("actionButton", cleaned)
            verify(again.enabled)
            verify(!again.busy)
            verify(!child("sliceSpinner", cleaned).visible)
            verify(!Hooks.exists(Hooks.homePath() + "/.cache/foo"))
            compare(indexOf("xray.usercaches"), place)
            verify(sliceOf("xray.usercaches").bytes < before - 20 * mib)
            compare(child("sliceSize", cleaned).text, Format.bytes(sliceOf("xray.usercaches").bytes))
            const rows = xray.slices.map(s => box(row(s.id)).top)
            for (let i = 1; i < rows.length; ++i)
                verify(rows[i] > rows[i - 1], "rows stay in the scanned order")

            // The outcome stays through a new scan (that finds caches again).
            Hooks.makeAllocated(".cache/bar/blob.bin", mib)
            scan()
            compare(child("resultText", row("xray.usercaches")).text, message)
            verify(child("sliceResult", row("xray.usercaches")).visible)

            Hooks.removePath(".local/share/Trash")
        }

        // The screen's share of the smallest window: names, details, sizes and
        // verdicts stand side by side without overlapping.
        function test_narrow_window_keeps_rows_apart() {
            if (!xray.hasScanned)
                scan()
            root.width = 744
            root.height = 640
            wait(50)
            const before = (a, b, what) => verify(box(a).right <= box(b).left + 0.5, what + ": " + box(a).right + " > " + box(b).left)
            before(child("xrayHeader"), child("scanButton"), "heading and button")
            for (const slice of xray.slices) {
                const r = row(slice.id)
                before(child("sliceName", r), child("sliceSize", r), slice.id + " name and size")
                before(child("sliceDetail", r), child("sliceBadge", r), slice.id + " detail and badge")
                before(child("sliceBadge", r), child("sliceChevron", r), slice.id + " badge and chevron")
                verify(!child("sliceName", r).truncated, slice.id + " name in full")
                verify(box(child("sliceChevron", r)).right <= root.width, slice.id + " fits")
            }
        }

        // Every symbol of the screen is a glyph of the bundled font, not its name spelled out.
        function test_symbols_are_glyphs() {
            for (const name of ["rays", "archivebox", "archivebox.fill", "doc.text.below.ecg", "iphone.gen3",
                                "externaldrive.fill.badge.timemachine", "memorychip", "trash", "shippingbox.fill",
                                "hammer.fill", "envelope", "folder.fill.badge.gearshape", "cube.fill",
                                "checkmark.circle.fill", "exclamationmark.triangle.fill", "chevron.right", "chevron.down"]) {
                const icon = createTemporaryObject(iconComponent, root, { name: name })
                verify(Icons.glyphs[name] !== undefined, name)
                verify(icon.implicitWidth > 0 && icon.implicitWidth <= icon.size * 1.3,
                       name + " is " + icon.implicitWidth + " px wide")
            }
        }

        // Every tint the slices name has a colour of its own in the theme.
        function test_slice_tints_are_theme_colours() {
            const names = ["accent", "indigo", "teal", "orange", "gray", "red", "blue", "purple", "cyan", "secondary", "mint"]
            for (const name of names)
                verify(!Qt.colorEqual(Theme.tint(name), Theme.tint("no such tint")), name)
            for (let i = 0; i < names.length; ++i)
                for (let j = i + 1; j < names.length; ++j)
                    verify(!Qt.colorEqual(Theme.tint(names[i]), Theme.tint(names[j])), names[i] + " and " + names[j])
        }
    }
}
