import QtQuick
import Tessoly
import TessolyTest

// The X-Ray screen on the temporary home: real caches and a real Trash
// measured (by the service, tested with it), opened, cleaned and shown.
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

        function scan() { run(child("scanButton"), () => xray.hasScanned && !xray.isScanning, 30000) }
        function row(id) { return child("slice_" + id) }
        function sliceOf(id) { return xray.slices.find(s => s.id === id) }

        function cleanup() {
            symbolsAreGlyphs()
            narrow(false)
            view.expandedSliceId = ""
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_scan_shows_every_slice() {
            showing({ introCard: true, summaryCard: false, slicesCard: false })
            Hooks.makeAllocated(".cache/foo/blob.bin", 24 * mib)
            Hooks.makeAllocated(".local/share/Trash/files/old-notes.txt", 3 * mib)
            Hooks.writeText(".local/share/Trash/info/old-notes.txt.trashinfo",
                            "[Trash Info]\nPath=/tmp/old-notes.txt\nDeletionDate=2024-01-01T10:00:00\n")
            runShowsBusy(child("scanButton"), () => xray.hasScanned && !xray.isScanning, 30000)
            showing({ introCard: false, summaryCard: true, slicesCard: true })
            const total = xray.slices.reduce((sum, s) => sum + s.bytes, 0)
            shows({ decodedTotal: Format.bytes(total) })
            // One row per slice in the service's order, showing that slice; one bar
            // segment per slice, as wide as its share, in the slice's own colour.
            const bar = child("sliceBar")
            let lastTop = -1
            for (const slice of xray.slices) {
                const r = row(slice.id)
                verify(box(r).top > lastTop, slice.id + " below the one before")
                lastTop = box(r).top
                shows({ sliceName: slice.name, sliceDetail: slice.detail, sliceSize: Format.bytes(slice.bytes), sliceBadge: slice.badge }, r)
                verify(!child("sliceDetails", r).visible)
                const share = bar.width * slice.bytes / total
                const segment = child("segment_" + slice.id, bar)
                verify(Math.abs(segment.width - share) <= 2.01, slice.id + ": " + segment.width + " for " + share)
                compare(segment.children[0].color, Theme.tint(slice.tint))
                verify(Theme.tint(slice.tint).toString() !== Theme.tint("no such tint").toString(), slice.id + " has a theme colour")
            }
        }

        function test_b_open_rows_reveal_clean_and_a_narrow_window() {
            if (!xray.hasScanned)
                scan()
            // Opened: the explanation and the action. One row open at a time.
            const appCaches = row("xray.usercaches")
            click(child("sliceHeader", appCaches))
            verify(child("sliceDetails", appCaches).visible)
            compare(child("sliceExplanation", appCaches).text, sliceOf("xray.usercaches").explanation)
            const clean = child("actionButton", appCaches)
            verify(clean.visible && clean.enabled)
            verify(!child("sliceResult", appCaches).visible)
            // The Trash is shown, not cleaned.
            const trash = row("xray.trash")
            click(child("sliceHeader", trash))
            verify(!child("sliceDetails", appCaches).visible)
            laidOut()
            click(child("actionButton", trash))
            compare(Hooks.lastRevealed(), Hooks.homePath() + "/.local/share/Trash")
            // Clean: the button spins and is closed to clicks while it works, then the
            // outcome shows beside a checkmark, in the slice's place, with its new size.
            const place = xray.slices.findIndex(s => s.id === "xray.usercaches")
            click(child("sliceHeader", appCaches))
            laidOut()
            const seen = [record(clean, "busy"), record(child("sliceSpinner", appCaches), "visible"), record(clean, "enabled")]
            run(clean, () => xray.workingSliceIds.length === 0 && xray.results["xray.usercaches"] !== undefined)
            verify(seen[0].includes(true) && seen[1].includes(true) && seen[2].includes(false), seen)
            const cleaned = row("xray.usercaches")
            verify(child("sliceResult", cleaned).visible)
            const message = child("resultText", cleaned).text
            verify(/^Moved .+ to the Trash — empty the Trash to finish\.$/.test(message), message)
            compare(child("resultIcon", cleaned).name, "checkmark.circle.fill")
            verify(child("actionButton", cleaned).enabled && !child("actionButton", cleaned).busy)
            verify(!Hooks.exists(".cache/foo"))
            compare(xray.slices.findIndex(s => s.id === "xray.usercaches"), place)
            compare(child("sliceSize", cleaned).text, Format.bytes(sliceOf("xray.usercaches").bytes))
            // The outcome stays through a new scan.
            Hooks.makeAllocated(".cache/bar/blob.bin", mib)
            scan()
            compare(child("resultText", row("xray.usercaches")).text, message)
            Hooks.removePath(".local/share/Trash")
            // The smallest window: names, details, sizes and verdicts stand apart.
            narrow(true)
            leftOf([["xrayHeader", "scanButton"]])
            for (const slice of xray.slices) {
                const r = row(slice.id)
                leftOf([["sliceName", "sliceSize"], ["sliceDetail", "sliceBadge"], ["sliceBadge", "sliceChevron"]], r)
                verify(!child("sliceName", r).truncated, slice.id + " name in full")
                verify(box(child("sliceChevron", r)).right <= root.width, slice.id + " fits")
            }
        }
    }
}
