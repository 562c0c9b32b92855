import QtQuick
import QtTest
import Tessoly
import TessolyTest

Item {
    id: root
    width: 1240
    height: 800

    ProfilesView { id: view; anchors.fill: parent }

    TestCase {
        name: "Profiles"
        when: windowShown

        function open(profileId) {
            view.selectedProfile = ""
            mouseClick(findChild(view, "profile_" + profileId))
            tryCompare(view, "selectedProfile", profileId)
            tryVerify(() => view.selectedTargetIds.length === view.targets.length, 5000)
            wait(20) // let the rows lay out
        }

        function row(id) {
            return findChild(findChild(view, "targetList"), "targetRow_" + id)
        }

        function test_grid_lists_six_personas() {
            view.selectedProfile = ""
            verify(findChild(view, "profileGrid").visible)
            for (const id of ["iosDeveloper", "androidDeveloper", "adobeCreative", "videoEditor", "webDeveloper", "generalUser"])
                verify(findChild(view, "profile_" + id), id)
        }

        function test_profile_with_nothing_present() {
            open("iosDeveloper")
            compare(findChild(view, "profileTitle").title, "iOS Developer cleanups")
            for (const target of view.targets)
                compare(findChild(row(target.id), "sizeText").text, "Not present")
            compare(findChild(view, "reclaimableSum").text, "Zero KB")
            verify(!findChild(view, "cleanButton").enabled)
        }

        function test_ticking_changes_the_sum_and_clean_reclaims() {
            Hooks.seedCaches()
            open("generalUser")
            const chrome = row("user.chrome")
            const firefox = row("user.firefox")
            tryCompare(findChild(chrome, "itemsText"), "text", "3 items")
            compare(findChild(firefox, "itemsText").text, "1 item")
            compare(findChild(row("user.safari"), "sizeText").text, "Not present")
            // Each row says where its folder is here: Chrome's cache under the XDG cache folder,
            // Safari's (no counterpart) where it would be on a Mac.
            compare(findChild(chrome, "locationText").text, "~/.cache/google-chrome")
            compare(findChild(row("user.safari"), "locationText").text, "~/Library/Caches/com.apple.Safari")
            const both = view.selectedBytes
            verify(both > 600000)
            compare(findChild(view, "reclaimableSum").text, Format.bytes(both))
            compare(findChild(view, "cleanButton").text, "Clean " + Format.bytes(both))

            mouseClick(chrome) // untick Chrome
            compare(findChild(chrome, "tick").name, "square")
            verify(view.selectedBytes < both)
            const firefoxOnly = view.selectedBytes
            mouseClick(chrome) // and tick it again
            compare(findChild(chrome, "tick").name, "checkmark.square.fill")
            compare(view.selectedBytes, both)
            mouseClick(chrome)
            compare(view.selectedBytes, firefoxOnly)

            mouseClick(findChild(view, "cleanButton"))
            tryCompare(view, "working", false, 10000)
            compare(view.lastFreed, firefoxOnly)
            verify(findChild(view, "reclaimedNote").visible)
            verify(!Hooks.exists(Hooks.located("Library/Caches/Firefox") + "/cache2"))
            verify(Hooks.exists(Hooks.located("Library/Caches/Google/Chrome") + "/index"))
            tryCompare(findChild(firefox, "sizeText"), "text", "Zero KB")
        }

        function test_back_returns_to_the_grid() {
            open("webDeveloper")
            mouseClick(findChild(view, "backToProfiles"))
            compare(view.selectedProfile, "")
            verify(findChild(view, "profileGrid").visible)
        }
    }
}
