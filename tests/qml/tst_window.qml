import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The window's content under the menu bar: the Easy screen's meter, its one
// button's phases and outcomes and its two ways out; the export action and the
// save panel it leads to; the welcome tour, how it is walked and left, and what
// it stores.
Item {
    id: root
    width: 980
    height: 640

    AppMenuBar { id: menuBar; width: parent.width }
    Item {
        anchors { top: menuBar.bottom; left: parent.left; right: parent.right; bottom: parent.bottom }
        ContentView { id: content; anchors.fill: parent }
        TextInput { id: field; width: 200; height: 30; text: "focus lives here" }
        PromptDialogs { id: prompts; anchors.fill: parent }
    }
    SignalSpy { id: exports; signalName: "triggered" }
    SignalSpy { id: answers; target: Services.prompter; signalName: "saveFileAnswered" }

    ScreenCase {
        name: "Menus"

        function saveDialog() { return child("saveDialog", prompts) }
        function initTestCase() { exports.target = child("exportReportAction", menuBar) }

        function cleanup() {
            if (saveDialog().visible)
                saveDialog().reject()
            tryCompare(saveDialog(), "visible", false)
            answers.clear()
            exports.clear()
        }

        function test_export_from_the_menu_and_by_shortcut_from_anywhere() {
            const file = child("fileMenu", menuBar)
            mouseClick(child("menuTitle_File", menuBar))
            tryCompare(file, "opened", true)
            mouseClick(file.itemAt(0))
            compare(exports.count, 1)
            tryCompare(file, "visible", false)
            field.forceActiveFocus() // with the focus in a text field of the page
            verify(field.activeFocus)
            keyClick(Qt.Key_E, Qt.ControlModifier | Qt.ShiftModifier)
            compare(exports.count, 2)
        }

        function test_save_panel_data() {
            return [{ tag: "accepted", accept: true }, { tag: "cancelled", accept: false }]
        }
        // The panel opens where asked and answers with a local path, or nothing when cancelled.
        function test_save_panel(data) {
            const folder = Hooks.homePath() + "/Reports #1"
            Hooks.writeText("Reports #1/notes.txt", "")
            Services.prompter.saveFileRequested("Export Storage Report", "Tessoly Report 2024.pdf", folder, ["PDF (*.pdf)"])
            const dialog = saveDialog()
            tryCompare(dialog, "visible", true)
            compare(dialog.title, "Export Storage Report")
            compare(dialog.nameFilters, ["PDF (*.pdf)"])
            compare(prompts.localPath(dialog.currentFolder), folder)
            compare(prompts.localPath(dialog.selectedFile), folder + "/Tessoly Report 2024.pdf")
            data.accept ? dialog.accept() : dialog.reject()
            tryCompare(answers, "count", 1)
            compare(answers.signalArguments[0][0], data.accept ? folder + "/Tessoly Report 2024.pdf" : "")
            tryCompare(dialog, "visible", false)
        }

        function test_file_urls_and_paths() {
            compare(prompts.fileUrl("/home/me/A b#1%/é.pdf"), "file:///home/me/A%20b%231%25/%C3%A9.pdf")
            compare(prompts.localPath("file:///home/me/A%20b%231%25/%C3%A9.pdf"), "/home/me/A b#1%/é.pdf")
            compare(prompts.localPath(prompts.fileUrl("/tmp/x?y.pdf")), "/tmp/x?y.pdf")
            compare(prompts.localPath("file://localhost/tmp/a%20b.pdf"), "/tmp/a b.pdf")
            compare(prompts.localPath("https://example.com/x.pdf"), "")
        }
    }

    ScreenCase {
        name: "Onboarding"

        readonly property string completedKey: "TessolyOnboardingCompletedV1"

        function tour() { return findChild(content, "onboarding") }
        function card() { return tour().stack.currentItem }
        function button(name) { return child(name, tour().contentItem) }
        function settle() {
            tryCompare(tour().stack, "busy", false)
            laidOut(card())
        }
        function forward(times) {
            for (let i = 0; i < times; ++i) {
                mouseClick(button("tourForward"))
                settle()
            }
        }
        function launch() {
            Hooks.runStartTask()
            tryCompare(tour(), "opened", true)
            settle()
        }

        function init() {
            Theme.reduceMotion = false
            Hooks.removeStored(completedKey)
        }
        function cleanup() {
            if (Services.onboarding.isShowing)
                Services.onboarding.isShowing = false
            tryCompare(tour(), "visible", false)
        }

        // Every card in turn: its title, the brand mark or its symbol, the dot of
        // the current card the widest, Skip until the last. Next brings the later
        // card in from the right, Back the earlier one from the left.
        function test_back_and_next_walk_every_card() {
            launch()
            const steps = tour().steps
            const last = steps.length - 1
            for (let i = 0; i <= last; ++i) {
                compare(tour().index, i)
                compare(child("tourTitle", card()).text, steps[i].title)
                showing({ tourBrandMark: i === 0, tourIcon: i > 0 }, card())
                const dots = numbered("dot_", tour().contentItem)
                compare(dots.length, steps.length)
                tryVerify(() => dots.every(dot => dot === dots[i] || dot.width < dots[i].width), 5000, "dot " + i + " the widest")
                compare(button("tourSkip").visible, i < last)
                symbolsAreGlyphs(tour().contentItem)
                if (i === last)
                    break
                mouseClick(button("tourForward"))
                verify(tour().stack.busy && card().x > 0, "from the right")
                settle()
            }
            mouseClick(button("tourLeft"))
            verify(tour().stack.busy && card().x < 0, "from the left")
            settle()
            compare(tour().index, last - 1)
            forward(1)
            verify(Hooks.storedValue(completedKey) === undefined)
            mouseClick(button("tourForward")) // "Start scanning"
            tryCompare(tour(), "visible", false)
            verify(!Services.onboarding.isShowing)
            compare(Hooks.storedValue(completedKey), true)
        }

        function test_leaving_data() {
            return [{ tag: "Skip tour on the first card", forward: 0, leave: "tourLeft", done: true },
                    { tag: "Skip on a later card", forward: 2, leave: "tourSkip", done: true },
                    { tag: "Escape", forward: 1, leave: "", done: false }]
        }
        // Skipping stores that the tour was done: the next launch doesn't show it.
        // Escape only hides it: the next launch shows it again, from the first card.
        function test_leaving(data) {
            launch()
            forward(data.forward)
            data.leave ? mouseClick(button(data.leave)) : keyClick(Qt.Key_Escape)
            tryCompare(tour(), "visible", false)
            verify(!Services.onboarding.isShowing)
            compare(Hooks.storedValue(completedKey), data.done ? true : undefined)
            Hooks.runStartTask()
            compare(Services.onboarding.isShowing, !data.done)
            if (!data.done) {
                tryCompare(tour(), "opened", true)
                settle()
                compare(tour().index, 0)
            }
        }

        // Also over the full app; choosing it again while the tour is open changes nothing.
        function test_help_menu_reopens_the_tour_at_the_first_card() {
            launch()
            mouseClick(button("tourLeft")) // done
            tryCompare(tour(), "visible", false)
            Services.settings.interfaceMode = "advanced"
            tryVerify(() => findChild(content, "shell") !== null)
            mouseClick(child("menuTitle_Help", menuBar))
            const help = child("helpMenu", menuBar)
            tryCompare(help, "opened", true)
            mouseClick(help.itemAt(0))
            tryCompare(tour(), "opened", true)
            settle()
            compare(tour().index, 0)
            forward(1)
            child("welcomeTourAction", menuBar).trigger()
            verify(tour().opened)
            compare(tour().index, 1)
            Services.settings.interfaceMode = "simple"
        }

        function test_reduced_motion_changes_cards_at_once() {
            Theme.reduceMotion = true
            launch()
            mouseClick(button("tourForward"))
            verify(!tour().stack.busy)
            compare(card().x, 0)
            compare(tour().index, 1)
        }
    }

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
            showing({ easyIdleText: true, easyStep: false, easyOutcome: false, easyBusy: false })
            verify(child("easyMainButton").enabled)
            Hooks.setFigures(0, 0)
            compare(child("easyMeter").fraction, 0, "an unreadable volume shows an empty meter")
        }

        function test_clean_data() {
            return [{ tag: "a clean disk", cache: false, deleting: false, block: "cleanBlock" },
                    { tag: "to the Trash", cache: true, deleting: false, block: "trashBlock",
                      says: "trashText", words: () => "Another 1.26 GB is waiting in the Trash." },
                    { tag: "deleting at once", cache: true, deleting: true, block: "freedBlock",
                      says: "freedText", words: () => "Freed " + Format.bytes(flow.freedNow) + " on your disk." }]
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
                verify(!button.enabled)
                showing({ easyBusy: true, easyStep: true, easyIdleText: false, easyOutcome: false })
                // The steps in order, whatever the speed.
                tryVerify(() => steps.indexOf("Cleaning 1 of 1 — Chrome cache…") > 0, 10000, "the step is shown")
                verify(steps.indexOf("Looking at your disk…") > 0, steps)
                verify(steps.indexOf("Looking at your disk…") < steps.indexOf("Cleaning 1 of 1 — Chrome cache…"), steps)
            }
            tryCompare(flow, "phase", "done", 30000)
            laidOut()
            showing({ easyIdleText: false, easyOutcome: true, cleanBlock: data.block === "cleanBlock",
                      trashBlock: data.block === "trashBlock", freedBlock: data.block === "freedBlock" })
            if (data.says)
                compare(child(data.says).text, data.words())
            verify(button.enabled)
            verify(!Hooks.exists(chromeCache))
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
            verify(shell && shell.visible && findChild(shell, "smartScanHero"))
            // Any other word than "simple" keeps the full app.
            Services.settings.interfaceMode = "Simple"
            laidOut(content)
            verify(findChild(content, "shell") && easy() === null)
            // And the way back is live too; the face comes back at idle.
            Services.settings.interfaceMode = "simple"
            tryVerify(() => easy() !== null && findChild(content, "shell") === null)
            showing({ easyIdleText: true, easyOutcome: false })
        }
    }
}
