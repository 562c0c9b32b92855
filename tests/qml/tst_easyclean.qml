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

    TestCase {
        name: "EasyClean"
        when: windowShown

        readonly property var flow: Services.easyClean
        readonly property string chromeCache: ".cache/google-chrome/Default/Cache/data"

        function easy() {
            return findChild(content, "easyCleanView")
        }

        function child(name) {
            const found = findChild(easy(), name)
            verify(found, name)
            return found
        }

        function clean() {
            const button = child("easyMainButton")
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryCompare(flow, "phase", "done", 30000)
            wait(20) // the outcome is laid out
        }

        function init() {
            Services.settings.interfaceMode = "simple"
            tryVerify(() => easy() !== null)
            Hooks.setFigures(500e9, 123.4e9)
            Hooks.setCompletionDelay(300)
        }

        function cleanup() {
            Hooks.followHome(false)
            for (const path of [".cache", ".local/share/Trash"])
                Hooks.removePath(path)
            Services.settings.deleteImmediately = false
        }

        // Runs first (names sort): the flow has not run in this process yet.
        function test_at_first_the_meter_and_one_button() {
            compare(flow.phase, "idle")
            verify(!findChild(content, "shell"))
            compare(child("easyFreeLine").text, "123.4 GB free of 500 GB")
            compare(child("easyMeter").fraction, 376.6 / 500)
            compare(child("easyIdleText").text,
                    "One click. Tessoly finds and clears only what's safe —\nyou'll see exactly what happened when it's done.")
            verify(child("easyIdleText").visible)
            verify(!child("easyStep").visible)
            verify(!child("easyOutcome").visible)
            const button = child("easyMainButton")
            compare(button.text, "Free Up Space")
            verify(button.enabled)
            compare(button.scale, 1)
            verify(!child("easyBusy").visible)
            compare(child("showEverything").text, "Show me everything")
            compare(child("showEverything").iconName, "slider.horizontal.3")
            compare(child("showEverythingHint").text,
                    "Switch to the full app with every tool — you can come back to this view from Settings.")
        }

        function test_an_unreadable_volume_shows_an_empty_meter() {
            Hooks.setFigures(0, 0)
            compare(child("easyMeter").fraction, 0)
            compare(child("easyFreeLine").text, "Zero KB free of Zero KB")
            Hooks.setFigures(500e9, 123.4e9)
            compare(child("easyFreeLine").text, "123.4 GB free of 500 GB")
        }

        function test_clean_of_a_clean_disk_says_so() {
            clean()
            verify(!child("easyIdleText").visible)
            verify(child("easyOutcome").visible)
            verify(child("cleanBlock").visible)
            compare(child("cleanText").text, "Your Mac is already clean — nothing safe needed clearing.")
            verify(!child("freedBlock").visible)
            verify(!child("trashBlock").visible)
            compare(child("easyMainButton").text, "Clean Again")
            verify(child("easyMainButton").enabled)
        }

        function test_clean_to_the_trash_runs_step_by_step() {
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.followHome(true)
            Hooks.setCompletionDelay(1500) // long enough to read the step
            const button = child("easyMainButton")
            mouseClick(button)
            // Running: the button works and can't be pressed again.
            compare(button.text, "Working…")
            verify(!button.enabled)
            compare(child("easyStep").text, "Looking at your disk…")
            verify(child("easyBusy").visible)
            verify(child("easyStep").visible)
            verify(!child("easyIdleText").visible)
            verify(!child("easyOutcome").visible)
            tryCompare(button, "scale", 0.98)
            tryCompare(child("easyStep"), "text", "Cleaning 1 of 1 — Chrome cache…", 10000)
            mouseClick(button) // disabled: nothing starts twice
            tryCompare(flow, "phase", "done", 30000)
            wait(20)

            // In the Trash, the space is not free yet: only the Trash block.
            verify(child("trashBlock").visible)
            compare(child("trashText").text, "Another 1.26 GB is waiting in the Trash.")
            verify(!child("freedBlock").visible)
            verify(!child("cleanBlock").visible)
            compare(button.text, "Clean Again")
            tryCompare(button, "scale", 1)
            verify(!Hooks.exists(Hooks.homePath() + "/" + chromeCache))

            const before = Hooks.revealed.length
            mouseClick(child("showTrash"))
            compare(child("showTrash").text, "Show me the Trash")
            compare(Hooks.revealed.length, before + 1)
            compare(Hooks.revealed[before], Hooks.homePath() + "/.local/share/Trash/files")
        }

        function test_clean_deleting_at_once_frees_the_disk() {
            Services.settings.deleteImmediately = true
            Hooks.makeAllocated(chromeCache, 1.26e9)
            Hooks.followHome(true)
            const freeBefore = Services.scanner.totalFree
            clean()
            verify(flow.freedNow > 1.2e9, "freed " + flow.freedNow)
            verify(Services.scanner.totalFree - freeBefore === flow.freedNow)
            verify(child("freedBlock").visible)
            compare(child("freedText").text, "Freed " + Format.bytes(flow.freedNow) + " on your disk.")
            verify(!child("trashBlock").visible)
            verify(!child("cleanBlock").visible)
            compare(child("easyFreeLine").text, Format.bytes(Services.scanner.totalFree) + " free of 500 GB")
        }

        function test_show_me_everything_switches_to_the_full_app() {
            mouseClick(child("showEverything"))
            compare(Services.settings.interfaceMode, "advanced")
            tryVerify(() => easy() === null)
            const shell = findChild(content, "shell")
            verify(shell)
            verify(shell.visible)
            verify(findChild(shell, "smartScanHero"))

            // Any other word than "simple" keeps the full app.
            Services.settings.interfaceMode = "Simple"
            wait(20)
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
