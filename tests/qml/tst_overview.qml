import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The overview on a fresh home: the Smart Scan panel's first face, the
// first scan, and the session's totals as cards are applied.
Item {
    id: root
    width: 1240
    height: 800

    OverviewView { id: overview; anchors.fill: parent }

    TestCase {
        name: "OverviewSmartScan"
        when: windowShown

        readonly property var smartScan: Services.smartScan

        function child(name) {
            const found = findChild(overview, name)
            verify(found, name)
            return found
        }

        function scanAgain() {
            const button = child("rescan")
            tryCompare(button, "enabled", true)
            // A scan of a small home may end within the click's own event processing:
            // wait for a newer finished scan rather than for the running state.
            const before = smartScan.hasScanned ? smartScan.lastScanCompletedAt.getTime() : 0
            mouseClick(button)
            tryVerify(() => smartScan.hasScanned && !smartScan.isScanning
                            && smartScan.lastScanCompletedAt.getTime() !== before, 20000, "a scan finished")
        }

        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            Hooks.setCompletionDelay(300)
        }

        function cleanup() {
            Services.settings.deleteImmediately = false
            Hooks.removePath(".cache")
            Hooks.removePath(".npm")
            Hooks.removePath(".local/share/Trash")
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_first_scan_of_an_empty_home_ends_all_clear() {
            const hero = child("smartScanHero")
            tryCompare(hero, "opacity", 1) // the panels have come in
            compare(child("heroHeadline").text, "Run a Smart Scan")
            compare(child("heroBody").text,
                    "About 30 seconds. Tessoly finds everything safe to clean up and suggests what to do.")
            const start = child("startSmartScan")
            compare(start.text, "Start Smart Scan")
            verify(start.enabled)
            verify(!child("rescan").visible)
            verify(!child("heroSummary").visible)
            verify(!child("recommendationsPanel").visible)
            verify(!child("skippedSection").visible)

            mouseClick(start)
            // The same face tells the progress while the scan runs.
            compare(child("heroHeadline").text, "Smart Scan in progress…")
            compare(start.text, "Scanning…")
            verify(!start.enabled)
            verify(child("heroBusy").visible)
            verify(child("heroBody").text !== "")
            compare(child("heroBody").text, smartScan.scanProgress)
            mouseClick(start) // disabled: no second scan
            tryCompare(smartScan, "hasScanned", true, 20000)

            compare(child("heroHeadline").text, "Smart Scan complete")
            verify(!child("heroBody").visible)
            verify(!start.visible)
            verify(child("rescan").visible)
            compare(child("rescan").text, "Re-scan")
            tryCompare(child("heroSummary"), "text", "0 recommendations")
            verify(child("recommendationsPanel").visible)
            compare(child("recommendationsHeading").text, "Recommendations")
            verify(!child("toReview").visible)
            verify(!findChild(overview, "recommendationCard_0"))
            verify(child("allClear").visible)
            compare(child("allClearTitle").text, "All clear")
            compare(child("allClearMessage").text,
                    "Smart Scan didn't find anything to clean up right now. Run it again any time.")
            verify(!child("skippedSection").visible)
        }

        function test_session_totals_in_the_summary_and_the_toast() {
            // Moved to the Trash: counted as waiting there, not as reclaimed.
            Hooks.makeAllocated(".cache/google-chrome/Default/Cache/data", 1.26e9)
            scanAgain()
            compare(child("heroSummary").text, "1 recommendation")
            compare(child("toReview").text, "1 to review")
            verify(!child("allClear").visible)
            const card = child("recommendationCard_0")
            compare(child("cardTitle").text, "Clear Chrome cache — 1.26 GB")

            mouseClick(findChild(card, "applyButton"))
            const toast = child("toast")
            const message = "Moved 1.26 GB from Chrome cache to the Trash — empty the Trash to reclaim the space."
            tryCompare(findChild(card, "statusText"), "text", message, 10000)
            tryVerify(() => toast.visible && toast.shown)
            const shownAt = Date.now()
            compare(child("toastTitle").text, message)
            compare(child("toastIcon").name, "checkmark.circle.fill")
            verify(!Hooks.exists(Hooks.homePath() + "/.cache/google-chrome/Default/Cache/data"))

            // The card leaves after a moment; the totals stay.
            tryVerify(() => !findChild(overview, "recommendationCard_0"), 5000)
            verify(child("allClear").visible)
            verify(!child("toReview").visible)
            compare(child("heroSummary").text, "0 recommendations · 1.26 GB waiting in Trash")

            // The toast goes by itself 3.5 s after it came.
            tryVerify(() => !toast.shown, 6000)
            const lasted = Date.now() - shownAt
            verify(lasted > 3000, "the toast lasted only " + lasted + " ms")
            compare(Object.keys(smartScan.lastToast).length, 0)
            tryCompare(toast, "visible", false)

            // Deleted at once: reclaimed this session.
            Services.settings.deleteImmediately = true
            Hooks.makeAllocated(".npm/_cacache/content-v2/blob", 1.5e9)
            scanAgain()
            const npm = child("recommendationCard_0")
            compare(findChild(npm, "cardTitle").text, "Clear npm cache — 1.5 GB")
            mouseClick(findChild(npm, "applyButton"))
            tryCompare(findChild(npm, "statusText"), "text", "Reclaimed 1.5 GB from npm cache.", 10000)
            tryVerify(() => !findChild(overview, "recommendationCard_0"), 5000)
            compare(child("heroSummary").text,
                    "0 recommendations · reclaimed 1.5 GB this session · 1.26 GB waiting in Trash")
        }
    }
}
