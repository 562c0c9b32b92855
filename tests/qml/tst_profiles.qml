import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The cleanup profiles on the temporary home: what each target holds here,
// the ticks and the sum, and a clean of the ticked ones.
Item {
    id: root
    width: 1240
    height: 800

    ProfilesView { id: view; anchors.fill: parent }

    ScreenCase {
        name: "Profiles"
        scope: view

        function open(profileId) {
            view.selectedProfile = ""
            mouseClick(child("profile_" + profileId))
            tryCompare(view, "selectedProfile", profileId)
            tryVerify(() => view.selectedTargetIds.length === view.targets.length, 5000)
            laidOut()
        }

        function row(id) { return child("targetRow_" + id, child("targetList")) }

        function cleanup() {
            symbolsAreGlyphs()
        }

        function test_profile_with_nothing_present_and_back_to_the_grid() {
            open("iosDeveloper")
            verify(!child("profileGrid").visible)
            for (const target of view.targets)
                compare(child("sizeText", row(target.id)).text, "Not present")
            compare(child("reclaimableSum").text, Format.bytes(0))
            verify(!child("cleanButton").enabled)
            mouseClick(child("backToProfiles"))
            compare(view.selectedProfile, "")
            verify(child("profileGrid").visible)
        }

        function test_ticking_changes_the_sum_and_clean_reclaims() {
            // Chrome's cache of 3 items, Firefox's of 1.
            for (const name of ["data_0", "data_1", "index"])
                Hooks.writeText(Hooks.located("Library/Caches/Google/Chrome") + "/" + name, "c".repeat(200000))
            Hooks.writeText(Hooks.located("Library/Caches/Firefox") + "/cache2/blob", "f".repeat(100000))
            open("generalUser")
            const chrome = row("user.chrome")
            const firefox = row("user.firefox")
            tryCompare(child("itemsText", chrome), "text", "3 items")
            compare(child("itemsText", firefox).text, "1 item")
            compare(child("sizeText", row("user.safari")).text, "Not present")
            // Each row says where its folder is here: Chrome's cache under the XDG cache folder,
            // Safari's (no counterpart) where it would be on a Mac.
            compare(child("locationText", chrome).text, "~/.cache/google-chrome")
            compare(child("locationText", row("user.safari")).text, "~/Library/Caches/com.apple.Safari")
            const both = view.selectedBytes
            verify(both > 600000)
            compare(child("reclaimableSum").text, Format.bytes(both))
            compare(child("cleanButton").text, "Clean " + Format.bytes(both))

            mouseClick(chrome) // untick Chrome
            compare(child("tick", chrome).name, "square")
            verify(view.selectedBytes < both)
            const firefoxOnly = view.selectedBytes
            compare(child("reclaimableSum").text, Format.bytes(firefoxOnly))
            mouseClick(chrome) // and tick it again
            compare(child("tick", chrome).name, "checkmark.square.fill")
            compare(view.selectedBytes, both)
            mouseClick(chrome)

            mouseClick(child("cleanButton"))
            tryCompare(view, "working", false, 10000)
            compare(view.lastFreed, firefoxOnly)
            verify(child("reclaimedNote").visible)
            verify(!Hooks.exists(Hooks.located("Library/Caches/Firefox") + "/cache2"))
            verify(Hooks.exists(Hooks.located("Library/Caches/Google/Chrome") + "/index"))
            tryCompare(child("sizeText", firefox), "text", Format.bytes(0))
        }
    }
}
