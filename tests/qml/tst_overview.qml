import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The overview against the real Smart Scan on the temporary home: the panel's
// first face, what each card's status shows, the session's totals and the
// toast, skipping, and cards kept across updates.
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
            const button = child(smartScan.hasScanned ? "rescan" : "startSmartScan")
            tryCompare(button, "enabled", true)
            // A scan of a small home may end within the click's own event processing:
            // wait for a newer finished scan rather than for the running state.
            const before = smartScan.hasScanned ? smartScan.lastScanCompletedAt.getTime() : 0
            mouseClick(button)
            tryVerify(() => smartScan.hasScanned && !smartScan.isScanning
                            && smartScan.lastScanCompletedAt.getTime() !== before, 20000, "a scan finished")
            laidOut()
        }

        function cards() {
            const list = []
            for (let i = 0; findChild(overview, "recommendationCard_" + i); ++i)
                list.push(findChild(overview, "recommendationCard_" + i))
            return list
        }

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
            compare(child("heroHeadline").text, "Run a Smart Scan")
            const start = child("startSmartScan")
            verify(start.enabled)
            showing({ rescan: false, heroSummary: false, recommendationsPanel: false, skippedSection: false })

            // The same face tells the progress while the scan runs (recorded: a scan
            // of an empty home may end within the click).
            const headlines = record(child("heroHeadline"), "text")
            const texts = record(start, "text")
            const enabled = record(start, "enabled")
            const busy = record(child("heroBusy"), "visible")
            const bodies = record(child("heroBody"), "text")
            mouseClick(start)
            tryCompare(smartScan, "hasScanned", true, 20000)
            verify(headlines.indexOf("Smart Scan in progress…") > 0, headlines)
            verify(texts.indexOf("Scanning…") > 0, texts)
            verify(enabled.indexOf(false) > 0, enabled)
            verify(busy.indexOf(true) > 0, busy)
            verify(bodies.slice(1).some(body => body !== "" && body !== bodies[0]), bodies) // the scan's progress

            compare(child("heroHeadline").text, "Smart Scan complete")
            tryCompare(child("heroSummary"), "text", "0 recommendations")
            verify(!start.visible)
            showing({ heroBody: false, rescan: true, recommendationsPanel: true, toReview: false, allClear: true, skippedSection: false })
        }

        function test_pending_card_and_its_explanation() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            scan()
            compare(cards().length, 1)
            const card = cards()[0]
            const data = smartScan.visibleRecommendations[0]
            shows({ cardTitle: "Clear Chrome cache — 1.26 GB", cardOneLiner: data.oneLiner, savings: "1.26 GB", applyButton: "Apply" }, card)
            compare(child("cardIcon", card).name, data.icon)
            compare(child("cardIconSquare", card).color, Theme.pale(Theme.indigo))
            compare(controls(card), ["whyButton", "skipButton", "applyButton"])
            showing({ statusText: false, statusBusy: false }, card)
            compare(child("toReview").text, "1 to review")
            compare(child("heroSummary").text.split(" · ")[0], "1 recommendation")
            verify(!child("allClear").visible)

            const sheet = child("explanationSheet", card)
            mouseClick(child("whyButton", card))
            tryCompare(sheet, "opened", true)
            compare(child("explanationText", sheet.contentItem).text, data.explanation)
            mouseClick(child("closeExplanation", sheet.contentItem))
            tryCompare(sheet, "visible", false)
            compare(cards().length, 1) // reading about it changes nothing
        }

        // Applying one card: its stage and outcome, the toast, the totals; the
        // other card, grown meanwhile, is measured again where it stands.
        function test_applied_cards_show_their_work_and_the_session_totals() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(npmCache, 2e9)
            Hooks.setCompletionDelay(1500)
            scan()
            const npm = cardTitled("Clear npm cache")
            const chrome = cardTitled("Clear Chrome cache")
            verify(npm === cards()[0], "the bigger win ranks first")
            const sheet = child("explanationSheet", npm)
            mouseClick(child("whyButton", npm))
            tryCompare(sheet, "opened", true)

            Hooks.makeAllocated(npmCache + "2", 0.4e9)
            smartScan.applyById(chrome.recommendation.id)
            // At once: the stage and a busy indicator, nothing to press; the other card's status is its own.
            showing({ statusBusy: true, statusText: true, statusIcon: false }, chrome)
            compare(child("statusText", chrome).text, "Working…")
            compare(controls(chrome), [])
            compare(controls(npm), ["whyButton", "skipButton", "applyButton"])

            const message = "Moved 1.26 GB from Chrome cache to the Trash — empty the Trash to reclaim the space."
            tryCompare(child("statusText", chrome), "text", message, 10000)
            verify(!child("statusBusy", chrome).visible)
            compare(child("statusIcon", chrome).name, "checkmark.circle.fill")
            const toast = child("toast")
            tryVerify(() => toast.visible && toast.shown)
            const shownAt = Date.now()
            compare(child("toastTitle").text, message)
            verify(!Hooks.exists(Hooks.homePath() + "/" + chromeCache))

            // The card leaves after a moment; the other keeps its place, measured again.
            tryVerify(() => cards().length === 1, 5000)
            verify(cards()[0] === npm, "the same card, not a new one")
            tryCompare(child("savings", npm), "text", "2.4 GB", 10000)
            compare(child("cardTitle", npm).text, "Clear npm cache — 2.4 GB")
            verify(sheet.opened, "an open sheet stays open")
            mouseClick(child("closeExplanation", sheet.contentItem))
            tryCompare(sheet, "visible", false)
            compare(child("heroSummary").text, "1 recommendation · 1.26 GB waiting in Trash")

            // The toast goes by itself 3.5 s after it came.
            tryVerify(() => !toast.shown, 6000)
            verify(Date.now() - shownAt > 3000, "the toast lasted only " + (Date.now() - shownAt) + " ms")
            tryCompare(toast, "visible", false)

            // Deleted at once: reclaimed this session.
            Services.settings.deleteImmediately = true
            mouseClick(child("applyButton", npm))
            tryCompare(child("statusText", npm), "text", "Reclaimed 2.4 GB from npm cache.", 10000)
            tryVerify(() => cards().length === 0, 5000)
            verify(child("allClear").visible)
            compare(child("heroSummary").text, "0 recommendations · reclaimed 2.4 GB this session · 1.26 GB waiting in Trash")
        }

        function test_failed_move_card_stays_and_offers_retry() {
            Hooks.makeAllocated("AndroidSDK/system-images/android-34/system.img", 2.3e9)
            Hooks.makeAllocated(chromeCache, 1.26e9)
            scan()
            const card = cardTitled("Move Android SDK to external drive")
            compare(child("cardIcon", card).name, "externaldrive.badge.plus")
            mouseClick(child("applyButton", card))
            tryCompare(child("statusText", card), "text", noDriveMessage, 10000)
            compare(child("statusIcon", card).name, "exclamationmark.triangle.fill")
            verify(!child("statusBusy", card).visible)
            compare(controls(card), ["whyButton", "skipButton", "applyButton"])
            compare(child("applyButton", card).text, "Retry")
            verify(smartScan.lastToast.title !== noDriveMessage, "a failure makes no toast")
            // A success beside it leaves; the failed card stays.
            mouseClick(child("applyButton", cardTitled("Clear Chrome cache")))
            tryVerify(() => cards().length === 1, 10000)
            verify(cards()[0] === card, "a failed card stays")

            statusSpy.clear()
            mouseClick(child("applyButton", card)) // Retry runs the apply again: running, then failed
            tryVerify(() => statusSpy.count >= 2, 10000)
            tryCompare(child("statusText", card), "text", noDriveMessage, 10000)
            verify(Hooks.exists(Hooks.homePath() + "/AndroidSDK/system-images/android-34/system.img"))
        }

        function test_info_card_has_only_why_and_got_it() {
            Hooks.setFigures(500e9, 60e9)
            Hooks.seedForecast(true)
            scan()
            const card = cardTitled("Heads up — disk will hit 95%")
            compare(child("cardIconSquare", card).color, Theme.pale(Theme.orange))
            verify(!child("savingsBox", card).visible)
            compare(controls(card), ["whyButton", "gotItButton"])
            const title = child("cardTitle", card).text
            mouseClick(child("gotItButton", card))
            tryVerify(() => cards().length === 0)
            laidOut()
            const section = child("skippedSection")
            compare(child("skippedCount", section).text, "1")
            mouseClick(child("skippedHeader", section))
            tryCompare(child("skippedList", section), "visible", true)
            compare(child("skippedRowTitle", child("skippedRow_0", section)).text, title)
        }

        function test_skipped_cards_fold_away_until_the_next_scan() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(npmCache, 2e9)
            scan()
            const section = child("skippedSection")
            verify(!section.visible)
            compare(child("toReview").text, "2 to review")

            mouseClick(child("skipButton", cardTitled("Clear npm cache")))
            tryVerify(() => cards().length === 1)
            shows({ toReview: "1 to review", skippedCount: "1" })
            compare(child("heroSummary").text.split(" · ")[0], "1 recommendation")
            verify(section.visible)
            verify(!child("skippedList", section).visible, "folded at first")

            laidOut()
            mouseClick(child("skipButton", cards()[0]))
            tryVerify(() => cards().length === 0)
            laidOut()
            compare(child("skippedCount", section).text, "2")
            verify(child("allClear").visible && !child("toReview").visible)
            mouseClick(child("skippedHeader", section))
            tryCompare(child("skippedList", section), "visible", true)
            compare(child("skippedRowTitle", child("skippedRow_0", section)).text, "Clear npm cache — 2 GB")
            compare(child("skippedRowTitle", child("skippedRow_1", section)).text, "Clear Chrome cache — 1.26 GB")
            mouseClick(child("skippedHeader", section))
            tryCompare(child("skippedList", section), "visible", false)

            // A new scan makes new cards: nothing is skipped any more.
            scan()
            compare(cards().length, 2)
            verify(!section.visible)
        }
    }
}
