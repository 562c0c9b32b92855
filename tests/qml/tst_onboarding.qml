import QtQuick
import QtTest
import Tessoly
import TessolyTest

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

    TestCase {
        name: "Onboarding"
        when: windowShown

        readonly property string completedKey: "TessolyOnboardingCompletedV1"
        readonly property var titles: [
            "Welcome to Tessoly",
            "One button does it all",
            "Want more control? It's all there",
            "Smart Scan recommends, you decide",
            "X-Ray the mystery \"System Data\"",
            "Move it, don't delete it",
            "For developers: the deep clean",
            "Autopilot keeps it that way",
            "Nothing is ever truly gone",
            "You're all set"
        ]
        readonly property var icons: ["", "sparkles", "slider.horizontal.3", "sparkles.rectangle.stack", "rays",
            "externaldrive.badge.plus", "wrench.and.screwdriver", "autostartstop", "clock.arrow.circlepath",
            "checkmark.seal.fill"]

        function tour() { return findChild(content, "onboarding") }
        function card() { return tour().stack.currentItem }
        function button(name) { return findChild(tour().contentItem, name) }
        function settle() {
            tryCompare(tour().stack, "busy", false)
            wait(10) // let the card lay out
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

        function test_first_launch_shows_the_welcome_card() {
            launch()
            verify(Services.onboarding.isShowing)
            compare(tour().index, 0)
            compare(findChild(card(), "tourTitle").text, "Welcome to Tessoly")
            compare(findChild(card(), "tourBody").text,
                    "Tessoly helps you understand where your Mac's storage went — and reclaim it safely.\n\nHere's a one-minute tour of everything it can do.")
            verify(findChild(card(), "tourBrandMark").visible)
            verify(!findChild(card(), "tourIcon").visible)
            compare(button("tourLeft").text, "Skip tour")
            compare(button("tourLeft").iconName, "")
            verify(button("tourSkip").visible)
            compare(button("tourSkip").text, "Skip")
            compare(button("tourForward").text, "Show me around")
            // One dot per card, the current one wide.
            for (let i = 0; i < 10; ++i) {
                const dot = findChild(tour().contentItem, "dot_" + i)
                compare(dot.height, 6)
                tryCompare(dot, "width", i === 0 ? 18 : 6)
            }
            verify(!findChild(tour().contentItem, "dot_10"))
        }

        function test_skipping_the_first_card_stores_that_the_tour_was_done() {
            launch()
            mouseClick(button("tourLeft"))
            compare(Services.onboarding.isShowing, false)
            tryCompare(tour(), "visible", false)
            compare(Hooks.storedValue(completedKey), true)
            // The next launch doesn't show it.
            Hooks.runStartTask()
            wait(50)
            verify(!Services.onboarding.isShowing)
            verify(!tour().visible)
        }

        function test_skip_on_a_later_card_finishes_too() {
            launch()
            mouseClick(button("tourForward"))
            settle()
            mouseClick(button("tourForward"))
            settle()
            compare(tour().index, 2)
            mouseClick(button("tourSkip"))
            tryCompare(tour(), "visible", false)
            compare(Hooks.storedValue(completedKey), true)
        }

        function test_escape_hides_the_tour_without_storing_anything() {
            launch()
            mouseClick(button("tourForward"))
            settle()
            keyClick(Qt.Key_Escape)
            tryCompare(tour(), "visible", false)
            compare(Services.onboarding.isShowing, false)
            compare(Hooks.storedValue(completedKey), undefined)
            // So the next launch shows it again, from the first card.
            launch()
            compare(tour().index, 0)
            compare(findChild(card(), "tourTitle").text, "Welcome to Tessoly")
        }

        function test_back_and_next_walk_every_card() {
            launch()
            for (let i = 0; i < 10; ++i) {
                compare(tour().index, i)
                compare(findChild(card(), "tourTitle").text, titles[i])
                if (i > 0) {
                    verify(findChild(card(), "tourIcon").visible)
                    verify(!findChild(card(), "tourBrandMark").visible)
                    compare(card().step.icon, icons[i])
                }
                const dot = findChild(tour().contentItem, "dot_" + i)
                tryCompare(dot, "width", 18)
                if (i > 0 && i < 9) {
                    compare(button("tourLeft").text, "Back")
                    compare(button("tourLeft").iconName, "chevron.left")
                    verify(button("tourSkip").visible)
                    compare(button("tourForward").text, "Next")
                    compare(button("tourForward").iconName, "chevron.right")
                }
                if (i < 9) {
                    mouseClick(button("tourForward"))
                    settle()
                }
            }
            compare(findChild(card(), "tourBody").text,
                    "Click the big button to run your first cleanup.\n\nYou can re-open this tour any time from the Help menu.")
            compare(button("tourLeft").text, "Back")
            verify(!button("tourSkip").visible)
            compare(button("tourForward").text, "Start scanning")
            compare(button("tourForward").iconName, "")

            // Every card has an accent of its own.
            const accents = tour().steps.map(step => step.accent.toString())
            compare(new Set(accents).size, 10)

            mouseClick(button("tourLeft"))
            settle()
            compare(tour().index, 8)
            compare(findChild(card(), "tourTitle").text, titles[8])
            verify(button("tourSkip").visible)
            mouseClick(button("tourForward"))
            settle()
            verify(Hooks.storedValue(completedKey) === undefined)
            mouseClick(button("tourForward")) // "Start scanning"
            tryCompare(tour(), "visible", false)
            verify(!Services.onboarding.isShowing)
            compare(Hooks.storedValue(completedKey), true)
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
            compare(findChild(card(), "tourTitle").text, titles[1])
        }

        function test_help_menu_reopens_the_tour_at_the_first_card() {
            launch()
            mouseClick(button("tourLeft")) // done
            tryCompare(tour(), "visible", false)

            mouseClick(findChild(menuBar, "menuTitle_Help"))
            const help = findChild(menuBar, "helpMenu")
            tryCompare(help, "opened", true)
            const entry = help.itemAt(0)
            compare(entry.text, "Show Welcome Tour")
            mouseClick(entry)
            tryCompare(tour(), "opened", true)
            settle()
            compare(tour().index, 0)
            compare(findChild(card(), "tourTitle").text, "Welcome to Tessoly")
            compare(button("tourForward").text, "Show me around")

            // Choosing it again while the tour is open changes nothing.
            mouseClick(button("tourForward"))
            settle()
            findChild(menuBar, "welcomeTourAction").trigger()
            wait(50)
            verify(tour().opened)
            compare(tour().index, 1)
            compare(findChild(card(), "tourTitle").text, titles[1])
        }

        function test_the_tour_shows_over_the_full_shell_too() {
            Services.settings.interfaceMode = "advanced"
            tryVerify(() => findChild(content, "shell") !== null)
            launch()
            verify(tour().opened)
            compare(findChild(card(), "tourTitle").text, "Welcome to Tessoly")
            Services.settings.interfaceMode = "simple"
        }
    }
}
