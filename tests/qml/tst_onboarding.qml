import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The welcome tour over the window's content: when it shows, how it is walked
// and left, and what it stores.
Item {
    id: root
    width: 980
    height: 640

    AppMenuBar { id: menuBar; width: parent.width }
    ContentView {
        id: content
        anchors.top: menuBar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }

    ScreenCase {
        name: "Onboarding"

        readonly property string completedKey: "TessolyOnboardingCompletedV1"

        function tour() { return findChild(content, "onboarding") }
        function card() { return tour().stack.currentItem }
        function button(name) { return child(name, tour().contentItem) }
        function title() { return child("tourTitle", card()).text }
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

        // Every card in turn: its title and symbol, the dot of the current card
        // wide, the buttons each place offers; Back and Next walk both ways.
        function test_back_and_next_walk_every_card() {
            launch()
            const steps = tour().steps
            compare(steps.length, 10)
            verify(!findChild(tour().contentItem, "dot_10"))
            for (let i = 0; i < steps.length; ++i) {
                compare(tour().index, i)
                compare(title(), steps[i].title)
                compare(child("tourBrandMark", card()).visible, i === 0)
                compare(child("tourIcon", card()).visible, i > 0)
                for (let d = 0; d < steps.length; ++d)
                    tryCompare(findChild(tour().contentItem, "dot_" + d), "width", d === i ? 18 : 6)
                compare(button("tourLeft").text, i === 0 ? "Skip tour" : "Back")
                compare(button("tourSkip").visible, i < 9)
                compare(button("tourForward").text, i === 0 ? "Show me around" : i === 9 ? "Start scanning" : "Next")
                symbolsAreGlyphs(tour().contentItem)
                if (i < 9)
                    forward(1)
            }
            // Every card has an accent of its own.
            compare(new Set(steps.map(step => step.accent.toString())).size, 10)

            mouseClick(button("tourLeft"))
            settle()
            compare(tour().index, 8)
            compare(title(), steps[8].title)
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
            if (data.leave === "")
                keyClick(Qt.Key_Escape)
            else
                mouseClick(button(data.leave))
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

        function test_cards_slide_in_from_the_side_of_travel() {
            launch()
            mouseClick(button("tourForward"))
            verify(tour().stack.busy)
            verify(card().x > 0, "a later card comes from the right")
            settle()
            compare(card().x, 0)
            mouseClick(button("tourLeft"))
            verify(card().x < 0, "an earlier card comes from the left")
            settle()
            compare(card().x, 0)

            // With reduced motion the change is immediate.
            Theme.reduceMotion = true
            mouseClick(button("tourForward"))
            verify(!tour().stack.busy)
            compare(card().x, 0)
            compare(tour().index, 1)
        }

        function test_help_menu_reopens_the_tour_at_the_first_card() {
            launch()
            mouseClick(button("tourLeft")) // done
            tryCompare(tour(), "visible", false)

            mouseClick(child("menuTitle_Help", menuBar))
            const help = child("helpMenu", menuBar)
            tryCompare(help, "opened", true)
            mouseClick(help.itemAt(0))
            tryCompare(tour(), "opened", true)
            settle()
            compare(tour().index, 0)

            // Choosing it again while the tour is open changes nothing.
            forward(1)
            child("welcomeTourAction", menuBar).trigger()
            verify(tour().opened)
            compare(tour().index, 1)
        }

        function test_the_tour_shows_over_the_full_shell_too() {
            Services.settings.interfaceMode = "advanced"
            tryVerify(() => findChild(content, "shell") !== null)
            launch()
            verify(tour().opened)
            Services.settings.interfaceMode = "simple"
        }
    }
}
