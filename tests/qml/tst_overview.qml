import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The overview against the real Smart Scan on the temporary home: the first
// face, each card's status, the session's totals and the toast, skipping.
Item {
    id: root
    width: 1240
    height: 1600 // every card on screen at once

    OverviewView { id: overview; anchors.fill: parent }
    SignalSpy { id: statusSpy; target: Services.smartScan; signalName: "applyStatusesChanged" }

    ScreenCase {
        name: "Overview"
        scope: overview

        readonly property var smartScan: Services.smartScan
        readonly property string chromeCache: ".cache/google-chrome/Default/Cache/data"
        readonly property string npmCache: ".npm/_cacache/content-v2/blob"
        readonly property string noDriveMessage:
            "No external drive with enough free space is connected. Plug an APFS-formatted drive in, then retry."

        function initTestCase() {
            Theme.reduceMotion = true
            setDrives([])
        }
        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            Hooks.setCompletionDelay(300)
        }

        function cleanup() {
            symbolsAreGlyphs()
            for (const path of [".cache", ".npm", "AndroidSDK", ".local/share/Trash"])
                Hooks.removePath(path)
            Hooks.seedForecast(false)
            Services.settings.deleteImmediately = false
        }

        function scan() {
            // A scan of a small home may end within the click's own event processing:
            // wait for a newer finished scan rather than for the running state.
            const before = smartScan.hasScanned ? smartScan.lastScanCompletedAt.getTime() : 0
            run(child(smartScan.hasScanned ? "rescan" : "startSmartScan"),
                () => smartScan.hasScanned && !smartScan.isScanning && smartScan.lastScanCompletedAt.getTime() !== before)
        }

        function cards() { return numbered("recommendationCard_") }
        function cardTitled(prefix) {
            const card = cards().find(c => child("cardTitle", c).text.startsWith(prefix))
            verify(card, "a card titled " + prefix)
            return card
        }
        function controls(card) {
            return ["whyButton", "skipButton", "applyButton", "gotItButton"].filter(name => child(name, card).visible)
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_first_scan_of_an_empty_home_ends_all_clear() {
            tryCompare(child("smartScanHero"), "opacity", 1) // the panels have come in
            const start = child("startSmartScan")
            verify(start.enabled)
            showing({ rescan: false, heroSummary: false, recommendationsPanel: false, skippedSection: false })
            // The same face tells the progress while the scan runs (recorded: a scan
            // of an empty home may end within the click).
            const enabled = record(start, "enabled")
            const busy = record(child("heroBusy"), "visible")
            const bodies = record(child("heroBody"), "text")
            mouseClick(start)
            tryCompare(smartScan, "hasScanned", true, 20000)
            verify(enabled.indexOf(false) > 0, enabled)
            verify(busy.indexOf(true) > 0, busy)
            verify(bodies.slice(1).some(body => body !== "" && body !== bodies[0]), bodies) // the scan's progress
            tryCompare(child("heroSummary"), "text", "0 recommendations")
            verify(!start.visible)
            showing({ heroBody: false, rescan: true, recommendationsPanel: true, toReview: false, allClear: true, skippedSection: false })
        }

        // Applying one card: its work and outcome, the toast, the totals; the other
        // card, grown meanwhile, is measured again where it stands.
        function test_cards_show_their_work_and_the_session_totals() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(npmCache, 2e9)
            Hooks.setCompletionDelay(1500)
            scan()
            const npm = cardTitled("Clear npm cache")
            const chrome = cardTitled("Clear Chrome cache — 1.26 GB")
            verify(npm === cards()[0], "the bigger win ranks first")
            shows({ savings: "1.26 GB" }, chrome)
            showing({ statusText: false, statusBusy: false }, chrome)
            shows({ toReview: "2 to review" })
            const sheet = child("explanationSheet", npm)
            mouseClick(child("whyButton", npm))
            tryCompare(sheet, "opened", true)
            compare(child("explanationText", sheet.contentItem).text, npm.recommendation.explanation)
            Hooks.makeAllocated(npmCache + "2", 0.4e9)
            smartScan.applyById(chrome.recommendation.id)
            // At once: a busy indicator, nothing to press; the other card's status is its own.
            showing({ statusBusy: true, statusText: true, statusIcon: false }, chrome)
            compare(controls(chrome), [])
            compare(controls(npm), ["whyButton", "skipButton", "applyButton"])
            const message = "Moved 1.26 GB from Chrome cache to the Trash — empty the Trash to reclaim the space."
            tryCompare(child("statusText", chrome), "text", message, 10000)
            verify(!child("statusBusy", chrome).visible && child("statusIcon", chrome).name === "checkmark.circle.fill")
            const toast = child("toast")
            tryVerify(() => toast.visible && toast.shown)
            compare(child("toastTitle").text, message)
            verify(!Hooks.exists(chromeCache))
            // The card leaves after a moment; the other keeps its place, measured again.
            tryVerify(() => cards().length === 1, 5000)
            verify(cards()[0] === npm, "the same card, not a new one")
            tryCompare(child("cardTitle", npm), "text", "Clear npm cache — 2.4 GB", 10000)
            verify(sheet.opened, "an open sheet stays open")
            mouseClick(child("closeExplanation", sheet.contentItem))
            tryCompare(sheet, "visible", false)
            compare(child("heroSummary").text, "1 recommendation · 1.26 GB waiting in Trash")
            // The toast goes by itself.
            tryVerify(() => !toast.shown, 6000)
            tryCompare(toast, "visible", false)
            // Deleted at once: reclaimed this session.
            Services.settings.deleteImmediately = true
            mouseClick(child("applyButton", npm))
            tryVerify(() => cards().length === 0, 10000)
            compare(child("heroSummary").text, "0 recommendations · reclaimed 2.4 GB this session · 1.26 GB waiting in Trash")
        }

        function test_failed_move_card_stays_and_offers_retry() {
            Hooks.makeAllocated("AndroidSDK/system-images/android-34/system.img", 2.3e9)
            Hooks.makeAllocated(chromeCache, 1.26e9)
            scan()
            const card = cardTitled("Move Android SDK to external drive")
            mouseClick(child("applyButton", card))
            tryCompare(child("statusText", card), "text", noDriveMessage, 10000)
            compare(child("statusIcon", card).name, "exclamationmark.triangle.fill")
            verify(!child("statusBusy", card).visible)
            compare(controls(card), ["whyButton", "skipButton", "applyButton"])
            verify(smartScan.lastToast.title !== noDriveMessage, "a failure makes no toast")
            // A success beside it leaves; the failed card stays.
            mouseClick(child("applyButton", cardTitled("Clear Chrome cache")))
            tryVerify(() => cards().length === 1, 10000)
            verify(cards()[0] === card, "a failed card stays")
            statusSpy.clear()
            mouseClick(child("applyButton", card)) // Retry runs the apply again: running, then failed
            tryVerify(() => statusSpy.count >= 2, 10000)
            tryCompare(child("statusText", card), "text", noDriveMessage, 10000)
            verify(Hooks.exists("AndroidSDK/system-images/android-34/system.img"))
        }

        // Skipped cards, and an info card's "Got it", fold away until the next scan.
        function test_skipped_cards_fold_away_until_the_next_scan() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(npmCache, 2e9)
            Hooks.setFigures(500e9, 60e9)
            Hooks.seedForecast(true)
            scan()
            const section = child("skippedSection")
            verify(!section.visible)
            const count = cards().length
            const info = cardTitled("Heads up — disk will hit 95%")
            verify(!child("savingsBox", info).visible)
            compare(controls(info), ["whyButton", "gotItButton"])
            const skipped = [child("cardTitle", info).text]
            mouseClick(child("gotItButton", info))
            tryVerify(() => cards().length === count - 1)
            laidOut()
            shows({ toReview: (count - 1) + " to review", skippedCount: "1" })
            verify(section.visible)
            verify(!child("skippedList", section).visible, "folded at first")
            while (cards().length > 0) {
                const left = cards().length
                skipped.push(child("cardTitle", cards()[0]).text)
                mouseClick(child("skipButton", cards()[0]))
                tryVerify(() => cards().length === left - 1)
                laidOut()
            }
            compare(child("skippedCount", section).text, String(count))
            verify(child("allClear").visible && !child("toReview").visible)
            mouseClick(child("skippedHeader", section))
            tryCompare(child("skippedList", section), "visible", true)
            compare(numbered("skippedRow_", section).map(r => child("skippedRowTitle", r).text).sort(), skipped.sort())
            mouseClick(child("skippedHeader", section))
            tryCompare(child("skippedList", section), "visible", false)
            // A new scan makes new cards: nothing is skipped any more.
            scan()
            compare(cards().length, count)
            verify(!section.visible)
        }
    }
}
