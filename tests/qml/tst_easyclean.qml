import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Easy screen in the window's content: the meter, the one button's
// phases and outcomes, and the two ways out (the Trash, the full app).
Item {
    id: root
    width: 980
    height: 640

    ContentView { id: content; anchors.fill: parent }

    ScreenCase {
        name: "EasyClean"
        scope: content

        readonly property var flow: Services.easyClean
        readonly property string chromeCache: ".cache/google-chrome/Default/Cache/data"

        function easy() { return findChild(content, "easyCleanView") }

        function init() {
            Services.settings.interfaceMode = "simple"
            tryVerify(() => easy() !== null)
            Hooks.setFigures(500e9, 123.4e9)
            Hooks.setCompletionDelay(300)
        }

        function cleanup() {
            symbolsAreGlyphs(content)
            for (const path of [".cache", ".local/share/Trash"])
                Hooks.removePath(path)
            Services.settings.deleteImmediately = false
        }

        // Runs first (names sort): the flow has not run in this process yet.
        function test_a_at_first_the_meter_and_one_button() {
            compare(flow.phase, "idle")
            verify(!findChild(content, "shell"))
            compare(child("easyFreeLine").text, "123.4 GB free of 500 GB")
            compare(child("easyMeter").fraction, 376.6 / 500)
            verify(child("easyIdleText").visible)
            verify(!child("easyStep").visible && !child("easyOutcome").visible && !child("easyBusy").visible)
            const button = child("easyMainButton")
            compare(button.text, "Free Up Space")
            verify(button.enabled)
            compare(button.scale, 1)

            // An unreadable volume shows an empty meter.
            Hooks.setFigures(0, 0)
            compare(child("easyMeter").fraction, 0)
            compare(child("easyFreeLine").text, "Zero KB free of Zero KB")
        }

        function test_clean_data() {
            return [{ tag: "a clean disk", cache: false, deleting: false, block: "cleanBlock", says: "cleanText",
                      words: () => "Your Mac is already clean — nothing safe needed clearing." },
                    { tag: "to the Trash", cache: true, deleting: false, block: "trashBlock", says: "trashText",
                      words: () => "Another 1.26 GB is waiting in the Trash." },
                    { tag: "deleting at once", cache: true, deleting: true, block: "freedBlock", says: "freedText",
                      words: () => "Freed " + Format.bytes(flow.freedNow) + " on your disk." }]
        }
        // While it runs the button works and can't be pressed again; the outcome
        // shows the one block that fits what happened to the disk.
        function test_clean(data) {
            Services.settings.deleteImmediately = data.deleting
            if (data.cache) {
                Hooks.makeAllocated(chromeCache, 1.26e9)
                Hooks.setCompletionDelay(1500) // long enough to read the step
            }
            Hooks.setFigures(500e9, 123.4e9, true)
            const freeBefore = Services.scanner.totalFree
            const button = child("easyMainButton")
            tryCompare(button, "enabled", true)
            const steps = record(child("easyStep"), "text")
            mouseClick(button)
            if (data.cache) {
                compare(button.text, "Working…")
                verify(!button.enabled)
                verify(child("easyBusy").visible && child("easyStep").visible)
                verify(!child("easyIdleText").visible && !child("easyOutcome").visible)
                tryCompare(button, "scale", 0.98)
                tryVerify(() => steps.indexOf("Cleaning 1 of 1 — Chrome cache…") > 0, 10000, "the step is shown")
                verify(steps.indexOf("Looking at your disk…") > 0, steps) // before it, whatever the speed
                verify(steps.indexOf("Looking at your disk…") < steps.indexOf("Cleaning 1 of 1 — Chrome cache…"), steps)
            }
            tryCompare(flow, "phase", "done", 30000)
            laidOut()

            verify(!child("easyIdleText").visible)
            verify(child("easyOutcome").visible)
            for (const block of ["cleanBlock", "trashBlock", "freedBlock"])
                compare(child(block).visible, block === data.block, block)
            compare(child(data.says).text, data.words())
            compare(button.text, "Clean Again")
            verify(button.enabled)
            tryCompare(button, "scale", 1)
            verify(Hooks.exists(Hooks.homePath() + "/" + chromeCache) === false)
            if (data.deleting) {
                verify(flow.freedNow > 1.2e9, "freed " + flow.freedNow)
                compare(Services.scanner.totalFree - freeBefore, flow.freedNow)
                compare(child("easyFreeLine").text, Format.bytes(Services.scanner.totalFree) + " free of 500 GB")
            }
            if (data.block === "trashBlock") {
                mouseClick(child("showTrash"))
                compare(Hooks.lastRevealed(), Hooks.homePath() + "/.local/share/Trash/files")
            }
        }

        function test_show_me_everything_switches_to_the_full_app() {
            mouseClick(child("showEverything"))
            compare(Services.settings.interfaceMode, "advanced")
            tryVerify(() => easy() === null)
            const shell = findChild(content, "shell")
            verify(shell && shell.visible)
            verify(findChild(shell, "smartScanHero"))

            // Any other word than "simple" keeps the full app.
            Services.settings.interfaceMode = "Simple"
            laidOut(content)
            verify(findChild(content, "shell"))
            verify(easy() === null)
            // And the way back is live too; the face comes back at idle.
            Services.settings.interfaceMode = "simple"
            tryVerify(() => easy() !== null && findChild(content, "shell") === null)
            compare(flow.phase, "done")
            verify(child("easyIdleText").visible)
            verify(!child("easyOutcome").visible)
            compare(child("easyMainButton").text, "Free Up Space")
        }
    }
}
