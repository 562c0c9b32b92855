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

    ScreenCase {
        name: "XRay"
        scope: view

        readonly property var xray: Services.xray
        readonly property int mib: 1048576

        function scan() {
            const button = child("scanButton")
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => xray.hasScanned && !xray.isScanning, 30000, "a scan finished")
            laidOut()
        }

        function row(id) { return child("slice_" + id) }
        function sliceOf(id) { return xray.slices.find(s => s.id === id) }

        function cleanup() {
            symbolsAreGlyphs()
            root.width = 1240
            root.height = 900
            view.expandedSliceId = ""
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_scan_shows_every_slice() {
            verify(!xray.hasScanned)
            showing({ introCard: true, summaryCard: false, slicesCard: false })
            Hooks.makeAllocated(".cache/foo/blob.bin", 24 * mib)
            Hooks.makeAllocated(".local/share/Trash/files/old-notes.txt", 3 * mib)
            Hooks.writeText(".local/share/Trash/info/old-notes.txt.trashinfo",
                            "[Trash Info]\nPath=/tmp/old-notes.txt\nDeletionDate=2024-01-01T10:00:00\n")

            // While the scan runs the button spins and can't start another.
            const button = child("scanButton")
            compare(button.text, "Run X-Ray")
            const busy = record(button, "busy")
            const enabled = record(button, "enabled")
            mouseClick(button)
            tryVerify(() => xray.hasScanned && !xray.isScanning, 30000, "a scan finished")
            laidOut()
            compare(busy, [false, true, false])
            compare(enabled, [true, false, true])
            compare(button.text, "Re-scan")
            showing({ introCard: false, summaryCard: true, slicesCard: true })

            // The summary: the decoded total and when.
            const total = xray.slices.reduce((sum, s) => sum + s.bytes, 0)
            verify(total >= 27 * mib)
            shows({ decodedTotal: Format.bytes(total), contributorCount: xray.slices.length + " contributors" })
            verify(/^scanned \d+ seconds? ago$/.test(child("scannedAt").text), child("scannedAt").text)

            // One row per slice in the service's order, showing that slice; one bar
            // segment per slice, as wide as its share.
            const bar = child("sliceBar")
            let lastTop = -1
            for (const slice of xray.slices) {
                const r = row(slice.id)
                verify(box(r).top > lastTop, slice.id + " below the one before")
                lastTop = box(r).top
                shows({ sliceName: slice.name, sliceDetail: slice.detail, sliceSize: Format.bytes(slice.bytes), sliceBadge: slice.badge }, r)
                compare(child("sliceChevron", r).name, "chevron.right")
                verify(!child("sliceDetails", r).visible)
                const share = bar.width * slice.bytes / total
                const segment = child("segment_" + slice.id, bar)
                verify(Math.abs(segment.width - share) <= 2.01, slice.id + ": " + segment.width + " for " + share)
            }
            compare(child("segment_xray.usercaches", bar).children[0].color, Theme.tint(sliceOf("xray.usercaches").tint))
        }

        function test_b_open_rows_reveal_and_clean() {
            if (!xray.hasScanned)
                scan()
            // Opened: the explanation and the action. One row open at a time.
            const appCaches = row("xray.usercaches")
            click(child("sliceHeader", appCaches))
            compare(view.expandedSliceId, "xray.usercaches")
            compare(child("sliceChevron", appCaches).name, "chevron.down")
            verify(child("sliceDetails", appCaches).visible)
            compare(child("sliceExplanation", appCaches).text, sliceOf("xray.usercaches").explanation)
            const clean = child("actionButton", appCaches)
            verify(clean.visible && clean.enabled)
            verify(!child("sliceResult", appCaches).visible)

            // The Trash is shown, not cleaned.
            const trash = row("xray.trash")
            click(child("sliceHeader", trash))
            compare(view.expandedSliceId, "xray.trash")
            verify(!child("sliceDetails", appCaches).visible)
            laidOut()
            click(child("actionButton", trash))
            compare(Hooks.lastRevealed(), Hooks.homePath() + "/.local/share/Trash")

            // Clean: the button spins and is closed to clicks while it works, then the
            // outcome shows beside a checkmark, in the slice's place, remeasured.
            const place = xray.slices.findIndex(s => s.id === "xray.usercaches")
            const before = sliceOf("xray.usercaches").bytes
            click(child("sliceHeader", appCaches))
            laidOut()
            const busy = record(clean, "busy")
            const enabled = record(clean, "enabled")
            const spinner = record(child("sliceSpinner", appCaches), "visible")
            click(clean)
            tryVerify(() => xray.workingSliceIds.length === 0 && xray.results["xray.usercaches"] !== undefined, 20000)
            laidOut()
            verify(busy.indexOf(true) >= 0, busy)
            verify(enabled.indexOf(false) >= 0, enabled)
            verify(spinner.indexOf(true) >= 0, spinner)
            const cleaned = row("xray.usercaches")
            verify(child("sliceResult", cleaned).visible)
            const message = child("resultText", cleaned).text
            verify(/^Moved .+ to the Trash — empty the Trash to finish\.$/.test(message), message)
            compare(child("resultIcon", cleaned).name, "checkmark.circle.fill")
            verify(child("actionButton", cleaned).enabled && !child("actionButton", cleaned).busy)
            verify(!Hooks.exists(Hooks.homePath() + "/.cache/foo"))
            compare(xray.slices.findIndex(s => s.id === "xray.usercaches"), place)
            verify(sliceOf("xray.usercaches").bytes < before - 20 * mib)
            compare(child("sliceSize", cleaned).text, Format.bytes(sliceOf("xray.usercaches").bytes))

            // The outcome stays through a new scan.
            Hooks.makeAllocated(".cache/bar/blob.bin", mib)
            scan()
            compare(child("resultText", row("xray.usercaches")).text, message)
            Hooks.removePath(".local/share/Trash")
        }

        // The smallest window: names, details, sizes and verdicts stand apart.
        function test_narrow_window_keeps_rows_apart() {
            if (!xray.hasScanned)
                scan()
            root.width = 744
            root.height = 640
            laidOut()
            leftOf([["xrayHeader", "scanButton"]])
            for (const slice of xray.slices) {
                const r = row(slice.id)
                leftOf([["sliceName", "sliceSize"], ["sliceDetail", "sliceBadge"], ["sliceBadge", "sliceChevron"]], r)
                verify(!child("sliceName", r).truncated, slice.id + " name in full")
                verify(box(child("sliceChevron", r)).right <= root.width, slice.id + " fits")
            }
        }

        // Every tint a slice names has a colour of its own in the theme.
        function test_slice_tints_are_theme_colours() {
            const names = ["accent", "indigo", "teal", "orange", "gray", "red", "blue", "purple", "cyan", "secondary", "mint"]
            const colours = names.map(n => Theme.tint(n).toString())
            compare(new Set(colours.concat([Theme.tint("no such tint").toString()])).size, names.length + 1)
            for (const slice of xray.slices)
                verify(names.indexOf(slice.tint) >= 0, slice.id + " has tint " + slice.tint)
        }
    }
}
