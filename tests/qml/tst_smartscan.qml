import QtQuick
import QtTest
import Tessoly
import TessolyTest

// Recommendation cards against the real Smart Scan: what each status shows,
// the explanation sheet, skipping, and cards kept across updates.
Item {
    id: root
    width: 1240
    height: 1600 // every card on screen at once

    OverviewView { id: overview; anchors.fill: parent }
    SignalSpy { id: statusSpy; target: Services.smartScan; signalName: "applyStatusesChanged" }

    TestCase {
        name: "RecommendationCards"
        when: windowShown

        readonly property var smartScan: Services.smartScan
        readonly property string chromeCache: ".cache/google-chrome/Default/Cache/data"
        readonly property string noDriveMessage:
            "No external drive with enough free space is connected. Plug an APFS-formatted drive in, then retry."

        function initTestCase() {
            Theme.reduceMotion = true
            Hooks.setDrives([])
        }

        function init() {
            Hooks.setFigures(500e9, 123.4e9)
            Hooks.setCompletionDelay(300)
        }

        function cleanup() {
            for (const path of [".cache", ".npm", "AndroidSDK", ".local/share/Trash"])
                Hooks.removePath(path)
            Hooks.seedForecast(false)
            Services.settings.deleteImmediately = false
        }

        function scan() {
            const button = findChild(overview, smartScan.hasScanned ? "rescan" : "startSmartScan")
            tryCompare(button, "enabled", true)
            // A scan of a small home may end within the click's own event processing:
            // wait for a newer finished scan rather than for the running state.
            const before = smartScan.hasScanned ? smartScan.lastScanCompletedAt.getTime() : 0
            mouseClick(button)
            tryVerify(() => smartScan.hasScanned && !smartScan.isScanning
                            && smartScan.lastScanCompletedAt.getTime() !== before, 20000, "a scan finished")
            wait(20) // the cards are laid out
        }

        function cards() {
            const list = []
            for (let i = 0; findChild(overview, "recommendationCard_" + i); ++i)
                list.push(findChild(overview, "recommendationCard_" + i))
            return list
        }

        function cardTitled(prefix) {
            const card = cards().find(c => findChild(c, "cardTitle").text.startsWith(prefix))
            verify(card, "a card titled " + prefix)
            return card
        }

        function visibleControls(card) {
            return ["whyButton", "skipButton", "applyButton", "gotItButton"].filter(name => findChild(card, name).visible)
        }

        function test_pending_clean_card_and_its_explanation() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            scan()
            compare(cards().length, 1)
            const card = cards()[0]
            const data = smartScan.visibleRecommendations[0]
            compare(findChild(card, "cardTitle").text, "Clear Chrome cache — 1.26 GB")
            compare(findChild(card, "cardOneLiner").text, "Chrome's HTTP cache. Re-downloaded as you browse.")
            compare(findChild(card, "riskLabel").text, "Safe")
            compare(findChild(card, "savings").text, "1.26 GB")
            compare(findChild(card, "savingsCaption").text, "est. savings")
            compare(findChild(card, "cardIcon").name, "globe")
            verify(Icons.glyphs[data.icon] !== undefined, "the card's symbol has a glyph")
            compare(findChild(card, "cardIconSquare").color, Theme.pale(Theme.indigo))
            compare(visibleControls(card), ["whyButton", "skipButton", "applyButton"])
            compare(findChild(card, "applyButton").text, "Apply")
            compare(findChild(card, "applyButton").iconName, "sparkles")
            verify(!findChild(card, "statusText").visible)
            verify(!findChild(card, "statusBusy").visible)
            compare(findChild(overview, "toReview").text, "1 to review")

            const sheet = findChild(card, "explanationSheet")
            verify(!sheet.opened)
            mouseClick(findChild(card, "whyButton"))
            tryCompare(sheet, "opened", true)
            compare(findChild(sheet.contentItem, "explanationText").text, data.explanation)
            verify(data.explanation.startsWith("Tessoly will move every item inside the folder to the Trash."))
            mouseClick(findChild(sheet.contentItem, "closeExplanation"))
            tryCompare(sheet, "visible", false)
            verify(!card.showingExplanation)
            compare(cards().length, 1) // reading about it changes nothing
        }

        function test_running_card_shows_its_stage_and_no_controls() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(".npm/_cacache/content-v2/blob", 2e9)
            Hooks.setCompletionDelay(1500)
            scan()
            compare(cards().length, 2)
            const npm = cardTitled("Clear npm cache")
            const chrome = cardTitled("Clear Chrome cache")
            verify(npm === cards()[0], "the bigger win ranks first")

            mouseClick(findChild(chrome, "applyButton"))
            // At once: the stage and a busy indicator, nothing to press.
            verify(findChild(chrome, "statusBusy").visible)
            compare(findChild(chrome, "statusText").text, "Working…")
            verify(findChild(chrome, "statusText").visible)
            compare(visibleControls(chrome), [])
            verify(!findChild(chrome, "statusIcon").visible)
            // The other card's status is its own.
            compare(visibleControls(npm), ["whyButton", "skipButton", "applyButton"])

            const message = "Moved 1.26 GB from Chrome cache to the Trash — empty the Trash to reclaim the space."
            tryCompare(findChild(chrome, "statusText"), "text", message, 10000)
            verify(!findChild(chrome, "statusBusy").visible)
            const icon = findChild(chrome, "statusIcon")
            verify(icon.visible)
            compare(icon.name, "checkmark.circle.fill")
            compare(visibleControls(chrome), [])
            tryVerify(() => cards().length === 1, 5000)
            verify(cards()[0] === npm, "the remaining card keeps its place on the page")
        }

        function test_failed_move_card_offers_retry() {
            Hooks.makeAllocated("AndroidSDK/system-images/android-34/system.img", 2.3e9)
            scan()
            const card = cardTitled("Move Android SDK to external drive")
            compare(findChild(card, "cardTitle").text, "Move Android SDK to external drive — 2.3 GB")
            compare(findChild(card, "cardIcon").name, "externaldrive.badge.plus")

            mouseClick(findChild(card, "applyButton"))
            tryCompare(findChild(card, "statusText"), "text", noDriveMessage, 10000)
            const icon = findChild(card, "statusIcon")
            verify(icon.visible)
            compare(icon.name, "exclamationmark.triangle.fill")
            verify(!findChild(card, "statusBusy").visible)
            compare(visibleControls(card), ["whyButton", "skipButton", "applyButton"])
            compare(findChild(card, "applyButton").text, "Retry")
            compare(findChild(card, "applyButton").iconName, "arrow.clockwise")
            verify(smartScan.lastToast.title !== noDriveMessage, "a failure makes no toast")
            wait(400) // longer than a success would stay
            verify(cards().indexOf(card) >= 0, "a failed card stays")

            statusSpy.clear()
            mouseClick(findChild(card, "applyButton")) // Retry runs the apply again: running, then failed
            tryVerify(() => statusSpy.count >= 2, 10000)
            tryCompare(findChild(card, "statusText"), "text", noDriveMessage, 10000)
            compare(findChild(card, "applyButton").text, "Retry")
            verify(Hooks.exists(Hooks.homePath() + "/AndroidSDK/system-images/android-34/system.img"))
        }

        function test_info_card_has_only_why_and_got_it() {
            Hooks.setFigures(500e9, 60e9)
            Hooks.seedForecast(true)
            scan()
            const card = cardTitled("Heads up — disk will hit 95%")
            compare(findChild(card, "cardIcon").name, "chart.line.uptrend.xyaxis")
            compare(findChild(card, "cardIconSquare").color, Theme.pale(Theme.orange))
            verify(!findChild(card, "savingsBox").visible)
            compare(visibleControls(card), ["whyButton", "gotItButton"])
            compare(findChild(card, "gotItButton").text, "Got it")
            const title = findChild(card, "cardTitle").text

            mouseClick(findChild(card, "gotItButton"))
            tryVerify(() => cards().length === 0)
            verify(findChild(overview, "allClear").visible)
            wait(20) // the page is laid out again
            const section = findChild(overview, "skippedSection")
            verify(section.visible)
            compare(findChild(section, "skippedCount").text, "1")
            mouseClick(findChild(section, "skippedHeader"))
            tryCompare(findChild(section, "skippedList"), "visible", true)
            compare(findChild(findChild(section, "skippedRow_0"), "skippedRowTitle").text, title)
        }

        function test_skipped_cards_fold_away_until_the_next_scan() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(".npm/_cacache/content-v2/blob", 2e9)
            scan()
            const section = findChild(overview, "skippedSection")
            verify(!section.visible)
            compare(findChild(overview, "toReview").text, "2 to review")

            mouseClick(findChild(cardTitled("Clear npm cache"), "skipButton"))
            tryVerify(() => cards().length === 1)
            compare(findChild(overview, "toReview").text, "1 to review")
            compare(findChild(overview, "heroSummary").text.split(" · ")[0], "1 recommendation")
            verify(section.visible)
            compare(findChild(section, "skippedTitle").text, "Skipped this session")
            compare(findChild(section, "skippedCount").text, "1")
            verify(!findChild(section, "skippedList").visible, "folded at first")

            wait(20)
            mouseClick(findChild(cards()[0], "skipButton"))
            tryVerify(() => cards().length === 0)
            wait(20)
            compare(findChild(section, "skippedCount").text, "2")
            verify(findChild(overview, "allClear").visible)
            verify(!findChild(overview, "toReview").visible)
            mouseClick(findChild(section, "skippedHeader"))
            tryCompare(findChild(section, "skippedList"), "visible", true)
            compare(findChild(findChild(section, "skippedRow_0"), "skippedRowTitle").text, "Clear npm cache — 2 GB")
            compare(findChild(findChild(section, "skippedRow_1"), "skippedRowTitle").text, "Clear Chrome cache — 1.26 GB")
            mouseClick(findChild(section, "skippedHeader"))
            tryCompare(findChild(section, "skippedList"), "visible", false)

            // A new scan makes new cards: nothing is skipped any more.
            scan()
            compare(cards().length, 2)
            verify(!section.visible)
        }

        function test_a_grown_folder_updates_its_card_in_place() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.makeAllocated(".npm/_cacache/content-v2/blob", 2e9)
            scan()
            const npm = cardTitled("Clear npm cache")
            const id = npm.recommendation.id
            mouseClick(findChild(npm, "whyButton"))
            const sheet = findChild(npm, "explanationSheet")
            tryCompare(sheet, "opened", true)

            // The npm cache grows while the Chrome card is applied: the npm
            // card is measured again and shows its new size, where it was.
            Hooks.makeAllocated(".npm/_cacache/content-v2/blob2", 0.4e9)
            smartScan.applyById(cardTitled("Clear Chrome cache").recommendation.id)
            tryVerify(() => cards().length === 1, 10000)
            tryCompare(findChild(npm, "cardTitle"), "text", "Clear npm cache — 2.4 GB", 10000)
            verify(cards()[0] === npm, "the same card, not a new one")
            compare(npm.recommendation.id, id)
            compare(findChild(npm, "savings").text, "2.4 GB")
            verify(sheet.opened, "an open sheet stays open")
            mouseClick(findChild(sheet.contentItem, "closeExplanation"))
            tryCompare(sheet, "visible", false)
        }
    }
}
