import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Explore tools on the temporary home. Apps: desktop entries for installed
// apps and their data in the cache and config folders, scanned as the screen
// appears. Duplicates: identical files in the document folders, found by
// content, all but one sent to the Trash. Search: files indexed on request,
// filtered by name and size as the person types and slides.
Item {
    id: root
    width: 1240
    height: 900

    Component { id: appsComponent; AppsView { anchors.fill: parent } }
    Component { id: duplicatesComponent; DuplicatesView { anchors.fill: parent } }
    Component { id: searchComponent; SearchView { anchors.fill: parent } }
    Component { id: exploreComponent; ExploreView { anchors.fill: parent } }

    ScreenCase {
        name: "Explore"

        readonly property int mib: 1048576
        readonly property string entry: "[Desktop Entry]\nType=Application\nName=Example Tool\nExec=/nonexistent/tool\n"
        // Every folder the tests write to; the document folders hold each test's files only.
        readonly property var folders: ["Downloads", "Documents", "Desktop", "Movies", "Music", "Pictures", ".local/share/applications",
                                        ".cache/org.example.Tool", ".config/org.example.Tool.conf", ".local/share/Trash"]

        function init() {
            for (const folder of folders)
                Hooks.removePath(folder)
        }

        function cleanup() {
            root.width = 1240
            root.height = 900
            init()
        }

        function finished(view) {
            tryVerify(() => !view.scanner.isScanning, 20000, "the scan finished")
            laidOut(view)
        }

        function findDuplicates(view) {
            const button = child("scanButton", view)
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => !view.finder.isScanning, 20000, "the scan finished")
            laidOut(view)
        }

        function seedSearch() {
            Hooks.makeAllocated("Documents/annual-report.pdf", 12 * mib)
            Hooks.writeText("Documents/Notes/Report-2024.txt", "draft")
            Hooks.writeText("Documents/2024/summary.txt", "one line")
            Hooks.writeText("Documents/.secret-report.txt", "hidden")
            Hooks.makeAllocated("Downloads/archive.zip", 30 * mib)
        }

        function reindex(view) {
            const button = child("reindexButton", view)
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => !view.search.isIndexing && view.search.indexCount > 0, 30000, "the index was built")
            laidOut(view)
        }

        // Types into the name field as a person would, replacing what it held.
        function type(view, text) {
            mouseClick(child("queryField", view))
            keyClick(Qt.Key_A, Qt.ControlModifier)
            keyClick(Qt.Key_Backspace)
            for (const c of text)
                keyClick(c)
            laidOut(view)
        }

        function names(view) {
            const list = child("resultsList", view)
            const found = []
            for (let i = 0; i < list.count; ++i) {
                list.positionViewAtIndex(i, ListView.Contain)
                found.push(child("resultRow_" + i, list).modelData.name)
            }
            return found
        }

        // Explore keeps only the open tool: leaving one drops it with its service
        // (the Apps scanner, the Search index); coming back starts afresh.
        function test_leaving_a_tab_drops_its_tool() {
            seedSearch()
            const explore = createTemporaryObject(exploreComponent, root)
            verify(child("bigFilesView", explore))
            mouseClick(child("tab_Apps", explore))
            const apps = arrived("appsView", explore)
            tryVerify(() => findChild(explore, "bigFilesView") === null)
            finished(apps)
            Hooks.watch(apps.scanner)
            mouseClick(child("tab_Search", explore))
            reindex(arrived("searchView", explore))
            tryVerify(() => findChild(explore, "appsView") === null)
            tryVerify(() => !Hooks.watchedExists(), 5000, "the scanner went with its screen")
            mouseClick(child("tab_Apps", explore))
            const again = arrived("appsView", explore)
            verify(again.scanner.isScanning || again.scanner.scanProgress === "Done", "a scan of its own")
            finished(again)
            tryVerify(() => findChild(explore, "searchView") === null)
            mouseClick(child("tab_Search", explore))
            const search = arrived("searchView", explore)
            compare(search.search.indexCount, 0)
            verify(child("searchEmpty", search).visible)
        }

        function test_apps_scan_starts_as_the_screen_appears() {
            const view = createTemporaryObject(appsComponent, root)
            const button = child("rescanButton", view)
            // Scanning from the start, with nothing listed yet (a home without apps
            // may be done at once: the rescan below records the busy button for sure).
            verify(view.scanner.isScanning || view.scanner.scanProgress === "Done", "a scan of its own")
            if (view.scanner.isScanning) {
                compare(button.text, "Scanning…")
                verify(button.busy && !button.enabled)
                compare(child("appsEmptyState", view).title, "Scanning your installed apps…")
                compare(child("emptyProgress", view).text, view.scanner.scanProgress)
            }
            verify(child("appsEmpty", view).visible)
            compare(child("appsTracked", view).value, "0")

            // A home without apps: the scan ends with nothing to list.
            finished(view)
            compare(button.text, "Rescan")
            verify(button.enabled && !button.busy)
            compare(child("appsEmptyState", view).title, "No apps found")
            verify(!child("emptyProgress", view).visible)
            verify(!child("appsList", view).visible)
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

            const view = createTemporaryObject(appsComponent, root)
            finished(view)
            verify(!child("appsEmpty", view).visible)
            const list = child("appsList", view)
            compare(list.count, 2)
            for (const [tile, value] of [["appsTracked", "2"], ["totalFootprint", Format.bytes(bundle + cache + prefs + zeta)],
                                         ["reclaimableFromCaches", Format.bytes(cache)]])
                compare(child(tile, view).value, value, tile)

            // The biggest first: its name, size, places and what its caches hold.
            const tool = child("appRow_0", list)
            shows({ appName: "Example Tool", appSize: Format.bytes(bundle + cache + prefs), appLocations: "3 locations",
                    appReclaimable: Format.bytes(cache) + " reclaimable" }, tool)
            verify(!child("appLocationList", tool).visible)
            // One location, nothing reclaimable.
            const other = child("appRow_1", list)
            compare(child("appLocations", other).text, "1 location")
            verify(!child("appReclaimable", other).visible)

            // Opened: every place, largest first, each with its kind, size and reveal.
            mouseClick(child("appHeader", tool))
            compare(child("appChevron", tool).name, "chevron.down")
            verify(child("appLocationList", tool).visible)
            laidOut(view)
            const rows = [0, 1, 2].map(i => child("location_" + i, tool))
            shows({ locationKind: "Cache", locationPath: "~/.cache/org.example.Tool", locationSize: Format.bytes(cache) }, rows[0])
            // The two small ones are of one size; their order is free.
            for (const [kind, path, bytes] of [["App", "~/.local/share/applications/org.example.Tool.desktop", bundle],
                                               ["Prefs", "~/.config/org.example.Tool.conf", prefs]])
                shows({ locationKind: kind, locationPath: path, locationSize: Format.bytes(bytes) },
                      rows.slice(1).find(r => child("locationKind", r).text === kind) || rows[1])
            mouseClick(child("revealLocation", rows[0]))
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/.cache/org.example.Tool")
            // Rows don't overlap once one is open.
            verify(box(child("appLocationList", tool)).bottom <= box(other).top + 0.5)

            // One open row at a time; a second click closes it.
            mouseClick(child("appHeader", other))
            verify(!child("appLocationList", tool).visible && child("appLocationList", other).visible)
            mouseClick(child("appHeader", other))
            verify(!child("appLocationList", other).visible)

            // Rescan: the list stays while the new one is made.
            const button = child("rescanButton", view)
            const texts = record(button, "text")
            const busy = record(button, "busy")
            const enabled = record(button, "enabled")
            const counts = record(list, "count")
            const empty = record(child("appsEmpty", view), "visible")
            mouseClick(button)
            finished(view)
            compare(texts, ["Rescan", "Scanning…", "Rescan"])
            compare(busy, [false, true, false])
            compare(enabled, [true, false, true])
            verify(counts.every(n => n === 2), counts)
            verify(empty.every(v => v === false), empty)
        }

        // The smallest window: figures, names and sizes stand apart, and a long
        // path is shortened in its middle.
        function test_apps_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            Hooks.writeText(".local/share/applications/org.example.Tool.desktop", entry)
            Hooks.makeAllocated(".cache/org.example.Tool/a-rather-long-folder-name-for-a-narrow-window/with-more-levels/cache.bin", 2 * mib)
            const view = createTemporaryObject(appsComponent, root)
            finished(view)
            leftOf([["appsHeader", "rescanButton"], ["appsTracked", "totalFootprint"], ["totalFootprint", "reclaimableFromCaches"]], view)
            for (const tile of ["appsTracked", "totalFootprint", "reclaimableFromCaches"]) {
                verify(!child("statCaption", child(tile, view)).truncated, tile + " caption in full")
                verify(!child("statValue", child(tile, view)).truncated, tile + " figure in full")
                verify(box(child(tile, view)).right <= root.width, tile + " fits")
            }
            const row = child("appRow_0", child("appsList", view))
            leftOf([["appName", "appSize"], ["appLocations", "appReclaimable"], ["appReclaimable", "appSize"]], row)
            mouseClick(child("appHeader", row))
            laidOut(view)
            const location = child("location_0", row)
            leftOf([["locationPath", "locationSize"], ["locationSize", "revealLocation"]], location)
            verify(box(child("revealLocation", location)).right <= root.width - 32, "the button inside the card")
            verify(!child("locationKind", location).truncated)
        }

        function test_duplicates_groups_and_keeping_one_copy() {
            const size = 1.5 * mib
            Hooks.writeBytes("Downloads/Report copy.pdf", size, 7)
            Hooks.writeBytes("Documents/Report.pdf", size, 7)
            Hooks.writeBytes("Desktop/Report (1).pdf", size, 7)
            Hooks.writeBytes("Music/mix.flac", 2 * mib, 9)
            Hooks.writeBytes("Pictures/Old/mix.flac", 2 * mib, 9)
            const view = createTemporaryObject(duplicatesComponent, root)
            // Nothing runs until asked.
            verify(!view.finder.isScanning)
            showing({ duplicatesEmpty: true, groupsList: false, scanProgress: false }, view)

            // While the scan runs: the button spins and the progress shows.
            const button = child("scanButton", view)
            const progress = child("scanProgress", view)
            const texts = record(button, "text")
            const busy = record(button, "busy")
            const enabled = record(button, "enabled")
            const shown = record(progress, "visible")
            const steps = record(progress, "value")
            mouseClick(button)
            tryVerify(() => !view.finder.isScanning, 20000, "the scan finished")
            laidOut(view)
            compare(texts, ["Scan for duplicates", "Scanning…", "Scan for duplicates"])
            compare(busy, [false, true, false])
            compare(enabled, [true, false, true])
            compare(shown, [false, true, false])
            verify(steps.indexOf("Found 5 candidate files. Hashing…") >= 0, steps)

            // Two groups, the one wasting most first.
            verify(!child("duplicatesEmpty", view).visible)
            const list = child("groupsList", view)
            compare(list.count, 2)
            compare(child("groupCount", view).value, "2")
            compare(child("reclaimableNow", view).value, Format.bytes(2 * size + 2 * mib))
            const reports = child("groupRow_0", list)
            shows({ groupCopies: "3 identical copies, " + Format.bytes(size) + " each",
                    groupWasted: Format.bytes(2 * size) + " reclaimable" }, reports)
            verify(!child("groupFiles", reports).visible)
            compare(child("groupName", child("groupRow_1", list)).text, "mix.flac")

            // Opened: each copy with its place and its two actions.
            mouseClick(child("groupHeader", reports))
            compare(child("groupChevron", reports).name, "chevron.down")
            verify(child("groupFiles", reports).visible)
            laidOut(view)
            const files = [0, 1, 2].map(i => child("file_" + i, reports))
            compare(child("fileName", files[0]).text, child("groupName", reports).text) // the row is named after its first file
            compare(files.map(f => child("filePath", f).text).sort(),
                    ["~/Desktop/Report (1).pdf", "~/Documents/Report.pdf", "~/Downloads/Report copy.pdf"])
            verify(box(child("groupFiles", reports)).bottom <= box(child("groupRow_1", list)).top + 0.5)
            const kept = files.find(f => child("fileName", f).text === "Report.pdf")
            mouseClick(child("revealFile", kept))
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/Documents/Report.pdf")

            // Keep one: the others go to the Trash, the group leaves the list.
            mouseClick(child("keepFile", kept))
            const feedback = child("feedbackLine", view)
            tryCompare(feedback, "visible", true)
            compare(child("feedbackText", view).text, "Kept Report.pdf, trashed the rest.")
            compare(child("feedbackIcon", view).name, "checkmark.circle.fill")
            verify(Hooks.exists(Hooks.homePath() + "/Documents/Report.pdf"))
            verify(!Hooks.exists(Hooks.homePath() + "/Downloads/Report copy.pdf"))
            verify(!Hooks.exists(Hooks.homePath() + "/Desktop/Report (1).pdf"))
            compare(list.count, 1)
            compare(child("groupCount", view).value, "1")
            compare(child("reclaimableNow", view).value, Format.bytes(2 * mib))

            // The last group: the list is empty again.
            const last = child("groupRow_0", list)
            mouseClick(child("groupHeader", last))
            laidOut(view)
            mouseClick(child("keepFile", child("file_1", last)))
            tryVerify(() => child("duplicatesEmpty", view).visible)
            compare(child("reclaimableNow", view).value, Format.bytes(0))

            // A new scan starts without the last words.
            findDuplicates(view)
            verify(!feedback.visible)
        }

        // The smallest window: long names shorten in their middle and stay clear
        // of the sizes and buttons.
        function test_duplicates_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            const name = "Quarterly planning meeting recording with the whole product team, final cut.mov"
            Hooks.writeBytes("Movies/" + name, 1.2 * mib, 4)
            Hooks.writeBytes("Downloads/" + name, 1.2 * mib, 4)
            const view = createTemporaryObject(duplicatesComponent, root)
            findDuplicates(view)
            leftOf([["duplicatesHeader", "scanButton"], ["groupCount", "reclaimableNow"]], view)
            const row = child("groupRow_0", child("groupsList", view))
            leftOf([["groupName", "groupWasted"]], row)
            verify(child("groupName", row).truncated)
            mouseClick(child("groupHeader", row))
            laidOut(view)
            const file = child("file_0", row)
            leftOf([["fileName", "revealFile"], ["filePath", "revealFile"], ["revealFile", "keepFile"]], file)
            verify(box(child("keepFile", file)).right <= root.width - 32, "the button inside the card")
        }
        function test_search_index_filter_and_reveal() {
            seedSearch()
            const view = createTemporaryObject(searchComponent, root)
            // Nothing is indexed until asked.
            verify(!view.search.isIndexing)
            showing({ searchEmpty: true, resultsTable: false, resultCount: false }, view)

            const button = child("reindexButton", view)
            const texts = record(button, "text")
            const enabled = record(button, "enabled")
            const status = record(child("indexStatus", view), "text")
            mouseClick(button)
            tryVerify(() => !view.search.isIndexing, 30000, "the index was built")
            laidOut(view)
            compare(texts, ["Re-index", "Indexing…", "Re-index"])
            compare(enabled, [true, false, true])
            verify(status.indexOf("Indexing…") >= 0, status)
            verify(/^Indexed \d+ seconds? ago$/.test(child("indexStatus", view).text), child("indexStatus", view).text)
            showing({ searchEmpty: false, resultsTable: true }, view)
            const list = child("resultsList", view)
            verify(list.count > 1)
            compare(child("resultCount", view).text, list.count + " results")

            // What is typed filters the rows (the index's own rules are tested with it).
            type(view, "REPORT")
            compare(names(view), ["annual-report.pdf", "Report-2024.txt"])
            const first = child("resultRow_0", list)
            shows({ resultPath: "~/Documents", resultSize: Format.bytes(12 * mib) }, first)
            verify(!["", "—"].includes(child("resultModified", first).text))
            mouseClick(child("revealResult", first))
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/Documents/annual-report.pdf")
            type(view, "summary")
            compare(child("resultCount", view).text, "1 result")

            // The size floor, one step of 10 MB at a time from the keyboard.
            type(view, "report")
            child("minimumSlider", view).forceActiveFocus()
            keyClick(Qt.Key_Right)
            compare(child("minimumValue", view).text, "10 MB+")
            compare(names(view), ["annual-report.pdf"])
            keyClick(Qt.Key_Right)
            compare(child("resultCount", view).text, "0 results")

            // A new index answers the same query anew.
            Hooks.makeAllocated("Downloads/archive-2.zip", 40 * mib)
            type(view, "archive")
            compare(names(view), ["archive.zip"])
            reindex(view)
            compare(names(view), ["archive-2.zip", "archive.zip"])
        }

        // The smallest window: the filters, the table's columns and a long path stay apart.
        function test_search_narrow_window_keeps_columns_apart() {
            seedSearch()
            root.width = 744
            root.height = 640
            Hooks.makeAllocated("Documents/Projects/a-client-with-a-long-name/deliverables/2024/final/presentation-for-the-board.key", 2 * mib)
            const view = createTemporaryObject(searchComponent, root)
            reindex(view)
            type(view, "presentation")
            leftOf([["searchHeader", "reindexButton"], ["queryField", "minimumLabel"], ["minimumLabel", "minimumSlider"],
                    ["minimumSlider", "minimumValue"], ["nameColumn", "pathColumn"]], view)
            verify(box(child("minimumValue", view)).right <= root.width - 32, "the value inside the card")
            verify(!child("minimumLabel", view).truncated)
            const row = child("resultRow_0", child("resultsList", view))
            leftOf([["resultName", "resultPath"], ["resultPath", "resultSize"], ["resultSize", "resultModified"],
                    ["resultModified", "revealResult"]], row)
            verify(child("resultPath", row).truncated)
            verify(!child("resultSize", row).truncated && !child("resultModified", row).truncated)
            // Titles over their columns, however long the path.
            compare(box(child("pathColumn", view)).left, box(child("resultPath", row)).left)
            compare(box(child("sizeColumn", view)).right, box(child("resultSize", row)).right)
            compare(box(child("modifiedColumn", view)).left, box(child("resultModified", row)).left)
        }
    }
}
