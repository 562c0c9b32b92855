import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Apps screen on the temporary home: desktop entries for installed apps
// and their data in the home's cache and config folders. Each test makes a
// fresh screen, whose scan starts as it appears.
Item {
    id: root
    width: 1240
    height: 900

    Component { id: appsComponent; AppsView { anchors.fill: parent } }
    Component { id: exploreComponent; ExploreView { anchors.fill: parent } }

    TestCase {
        name: "Apps"
        when: windowShown

        readonly property int mib: 1048576
        readonly property string entry: "[Desktop Entry]\nType=Application\nName=Example Tool\nExec=/nonexistent/tool\n"

        function child(within, name) {
            const found = findChild(within, name)
            verify(found, name)
            return found
        }

        // Every value a property takes from now on, the present one first: a
        // fast scan may start and end within the click that starts it.
        function record(item, property) {
            // Lists are copied: a list property reads as a live view of the object.
            const now = () => { const v = item[property]; return typeof v === "object" && v !== null && v.length !== undefined ? Array.from(v) : v }
            const seen = [now()]
            item[property + "Changed"].connect(() => seen.push(now()))
            return seen
        }

        function box(item) {
            const at = item.mapToItem(root, 0, 0)
            return { left: at.x, top: at.y, right: at.x + item.width, bottom: at.y + item.height }
        }

        function finished(view) {
            tryVerify(() => !view.scanner.isScanning, 20000, "the scan finished")
            wait(20) // let the rows lay out
        }

        function cleanup() {
            root.width = 1240
            root.height = 900
            Hooks.removePath(".local/share/applications")
            Hooks.removePath(".cache/org.example.Tool")
            Hooks.removePath(".config/org.example.Tool.conf")
        }

        function test_a_scan_starts_as_the_screen_appears() {
            const view = createTemporaryObject(appsComponent, root)
            const header = child(view, "appsHeader")
            compare(header.title, "Apps")
            compare(header.subtitle, "See which apps own your storage — not which folders. Click any app to see every file it touches.")

            // Scanning from the start, with nothing listed yet.
            verify(view.scanner.isScanning)
            const button = child(view, "rescanButton")
            compare(button.text, "Scanning…")
            compare(button.iconName, "arrow.clockwise")
            verify(button.busy)
            verify(!button.enabled)
            const empty = child(view, "appsEmpty")
            verify(empty.visible)
            const state = child(view, "appsEmptyState")
            compare(state.title, "Scanning your installed apps…")
            compare(state.message,
                    "This takes a few seconds the first time. Tessoly maps every disk location back to the app that owns it.")
            compare(child(view, "emptyProgress").text, view.scanner.scanProgress)
            verify(child(view, "emptyProgress").text !== "")
            compare(child(view, "appsTracked").caption, "Apps tracked")
            compare(child(view, "appsTracked").value, "0")
            compare(child(view, "totalFootprint").caption, "Total footprint")
            compare(child(view, "totalFootprint").value, Format.bytes(0))
            compare(child(view, "reclaimableFromCaches").caption, "Reclaimable from caches")
            compare(child(view, "reclaimableFromCaches").value, Format.bytes(0))

            // A home without apps: the scan ends with nothing to list.
            finished(view)
            compare(button.text, "Rescan")
            verify(button.enabled)
            verify(!button.busy)
            verify(empty.visible)
            compare(state.title, "No apps found")
            verify(!child(view, "emptyProgress").visible)
            verify(!child(view, "appsList").visible)
        }

        function test_apps_with_their_locations() {
            Hooks.writeText(".local/share/applications/org.example.Tool.desktop", entry)
            Hooks.makeAllocated(".cache/org.example.Tool/http/cache.bin", 3 * mib)
            Hooks.writeText(".config/org.example.Tool.conf", "[General]\ntheme=dark\n")
            // An app with nothing outside its own entry.
            Hooks.writeText(".local/share/applications/zeta-viewer.desktop",
                            "[Desktop Entry]\nType=Application\nName=Zeta Viewer\nExec=/nonexistent/zeta\n")
            const bundle = Hooks.allocatedBytes(".local/share/applications/org.example.Tool.desktop")
            const cache = Hooks.allocatedBytes(".cache/org.example.Tool")
            const prefs = Hooks.allocatedBytes(".config/org.example.Tool.conf")
            const zeta = Hooks.allocatedBytes(".local/share/applications/zeta-viewer.desktop")
            compare(cache, 3 * mib)

            const view = createTemporaryObject(appsComponent, root)
            finished(view)
            verify(!child(view, "appsEmpty").visible)
            const list = child(view, "appsList")
            verify(list.visible)
            compare(list.count, 2)
            compare(child(view, "appsTracked").value, "2")
            compare(child(view, "totalFootprint").value, Format.bytes(bundle + cache + prefs + zeta))
            compare(child(view, "reclaimableFromCaches").value, Format.bytes(cache))

            // The biggest first: its name, size, places and what its caches hold.
            const tool = child(list, "appRow_0")
            compare(child(tool, "appName").text, "Example Tool")
            compare(child(tool, "appSize").text, Format.bytes(bundle + cache + prefs))
            compare(child(tool, "appLocations").text, "3 locations")
            verify(child(tool, "appReclaimable").visible)
            compare(child(tool, "appReclaimable").text, Format.bytes(cache) + " reclaimable")
            compare(child(tool, "appChevron").name, "chevron.right")
            verify(!child(tool, "appLocationList").visible)

            // One location, nothing reclaimable.
            const other = child(list, "appRow_1")
            compare(child(other, "appName").text, "Zeta Viewer")
            compare(child(other, "appLocations").text, "1 location")
            verify(!child(other, "appReclaimable").visible)
            compare(child(other, "appSize").text, Format.bytes(zeta))

            // Opened: every place, largest first, each with its kind, size and reveal.
            mouseClick(child(tool, "appHeader"))
            compare(child(tool, "appChevron").name, "chevron.down")
            verify(child(tool, "appLocationList").visible)
            wait(20)
            const expected = [
                { kind: "Cache", path: "~/.cache/org.example.Tool", bytes: cache },
                { kind: "App", path: "~/.local/share/applications/org.example.Tool.desktop", bytes: bundle },
                { kind: "Prefs", path: "~/.config/org.example.Tool.conf", bytes: prefs }
            ]
            // The two small ones are of one size; their order is free.
            const rows = [0, 1, 2].map(i => child(tool, "location_" + i))
            compare(child(rows[0], "locationKind").text, "Cache")
            compare(child(rows[0], "locationPath").text, expected[0].path)
            compare(child(rows[0], "locationSize").text, Format.bytes(cache))
            for (const e of expected.slice(1)) {
                const found = rows.slice(1).find(r => child(r, "locationKind").text === e.kind)
                verify(found, e.kind)
                compare(child(found, "locationPath").text, e.path)
                compare(child(found, "locationSize").text, Format.bytes(e.bytes))
            }
            const reveal = child(rows[0], "revealLocation")
            compare(reveal.text, "Reveal in Finder")
            mouseClick(reveal)
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/.cache/org.example.Tool")
            // Rows don't overlap once one is open.
            verify(box(child(tool, "appLocationList")).bottom <= box(child(list, "appRow_1")).top + 0.5)

            // One open row at a time; a second click closes it.
            mouseClick(child(other, "appHeader"))
            verify(!child(tool, "appLocationList").visible)
            verify(child(other, "appLocationList").visible)
            mouseClick(child(other, "appHeader"))
            verify(!child(other, "appLocationList").visible)

            // Rescan: the list stays while the new one is made.
            const button = child(view, "rescanButton")
            const texts = record(button, "text")
            const counts = record(list, "count")
            const empty = record(child(view, "appsEmpty"), "visible")
            mouseClick(button)
            finished(view)
            compare(texts, ["Rescan", "Scanning…", "Rescan"])
            verify(counts.every(n => n === 2), counts)
            verify(empty.every(v => v === false), empty)
        }

        // The screen's share of the smallest window: figures, names and sizes
        // stand apart, and a long path is shortened in its middle.
        function test_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            Hooks.writeText(".local/share/applications/org.example.Tool.desktop", entry)
            Hooks.makeAllocated(".cache/org.example.Tool/a-rather-long-folder-name-for-a-narrow-window/with-more-levels/cache.bin", 2 * mib)
            const view = createTemporaryObject(appsComponent, root)
            finished(view)
            const before = (a, b, what) => verify(box(a).right <= box(b).left + 0.5, what + ": " + box(a).right + " > " + box(b).left)
            before(child(view, "appsHeader"), child(view, "rescanButton"), "heading and button")
            before(child(view, "appsTracked"), child(view, "totalFootprint"), "first and second figure")
            before(child(view, "totalFootprint"), child(view, "reclaimableFromCaches"), "second and third figure")
            for (const tile of ["appsTracked", "totalFootprint", "reclaimableFromCaches"]) {
                verify(!child(child(view, tile), "statCaption").truncated, tile + " caption in full")
                verify(!child(child(view, tile), "statValue").truncated, tile + " figure in full")
                verify(box(child(view, tile)).right <= root.width, tile + " fits")
            }
            const row = child(child(view, "appsList"), "appRow_0")
            before(child(row, "appName"), child(row, "appSize"), "name and size")
            verify(child(row, "appReclaimable").visible)
            before(child(row, "appLocations"), child(row, "appReclaimable"), "places and reclaimable")
            before(child(row, "appReclaimable"), child(row, "appSize"), "reclaimable and size")
            mouseClick(child(row, "appHeader"))
            wait(20)
            const location = child(row, "location_0")
            before(child(location, "locationPath"), child(location, "locationSize"), "path and size")
            before(child(location, "locationSize"), child(location, "revealLocation"), "size and button")
            verify(box(child(location, "revealLocation")).right <= root.width - 32, "the button inside the card")
            compare(child(location, "locationKind").text, "Cache")
            verify(!child(location, "locationKind").truncated)
        }

        // Explore keeps only the open tool: leaving Apps drops its scanner, and
        // coming back starts a new scan.
        function test_leaving_the_tab_starts_afresh() {
            const explore = createTemporaryObject(exploreComponent, root)
            verify(findChild(explore, "bigFilesView"))
            verify(!findChild(explore, "appsView"))
            mouseClick(child(explore, "tab_Apps"))
            wait(0) // the tool left behind goes
            const first = child(explore, "appsView")
            verify(!findChild(explore, "bigFilesView"))
            finished(first)
            Hooks.watch(first.scanner)
            mouseClick(child(explore, "tab_Duplicates"))
            wait(0)
            verify(child(explore, "duplicatesView"))
            verify(!findChild(explore, "appsView"))
            verify(!Hooks.watchedExists(), "the scanner went with its screen")
            mouseClick(child(explore, "tab_Apps"))
            wait(0)
            const second = child(explore, "appsView")
            verify(second.scanner.isScanning || second.scanner.scanProgress === "Done", "a scan of its own")
            finished(second)
        }
    }
}
