import QtQuick
import Tessoly
import TessolyTest

// The Explore tools on the temporary home: Apps (desktop entries and their data
// folders), Duplicates (identical files, all but one sent to the Trash) and
// Search (files indexed on request, filtered as the person types and slides).
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
        property QtObject watched // null once the object it holds is gone

        function init() {
            for (const folder of ["Downloads", "Documents", "Desktop", "Movies", "Music", "Pictures", ".local/share/applications",
                                  ".cache/org.example.Tool", ".config/org.example.Tool.conf", ".local/share/Trash"])
                Hooks.removePath(folder)
        }
        function cleanup() {
            narrow(false)
            init()
        }

        function finished(view) {
            tryVerify(() => !view.scanner.isScanning, 20000, "the scan finished")
            laidOut(view)
        }
        function findDuplicates(view) { run(child("scanButton", view), () => !view.finder.isScanning) }
        function reindex(view) { run(child("reindexButton", view), () => !view.search.isIndexing && view.search.indexCount > 0, 30000) }

        function seedSearch() {
            Hooks.makeAllocated("Documents/annual-report.pdf", 12 * mib)
            Hooks.writeText("Documents/Notes/Report-2024.txt", "draft")
            Hooks.writeText("Documents/2024/summary.txt", "one line")
            Hooks.makeAllocated("Downloads/archive.zip", 30 * mib)
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
            const explore = createTemporaryObject(exploreComponent, root) // opens at Big Files
            mouseClick(child("tab_Apps", explore))
            const apps = arrived("appsView", explore)
            tryVerify(() => findChild(explore, "bigFilesView") === null)
            finished(apps)
            showing({ appsEmpty: true, appsList: false }, apps) // a home without apps
            watched = apps.scanner
            mouseClick(child("tab_Search", explore))
            reindex(arrived("searchView", explore))
            tryVerify(() => findChild(explore, "appsView") === null)
            tryVerify(() => watched === null, 5000, "the scanner went with its screen")
            mouseClick(child("tab_Apps", explore))
            finished(arrived("appsView", explore)) // a scan of its own
            tryVerify(() => findChild(explore, "searchView") === null)
            mouseClick(child("tab_Search", explore))
            const search = arrived("searchView", explore)
            compare(search.search.indexCount, 0)
            verify(child("searchEmpty", search).visible)
        }

        // What the apps scanner measures is its own suite's business; here, the rows it makes.
        function test_apps_with_their_locations() {
            Hooks.writeText(".local/share/applications/org.example.Tool.desktop", entry)
            Hooks.makeAllocated(".cache/org.example.Tool/http/cache.bin", 3 * mib)
            Hooks.writeText(".config/org.example.Tool.conf", "[General]\ntheme=dark\n")
            // An app with nothing outside its own entry.
            Hooks.writeText(".local/share/applications/zeta-viewer.desktop", entry.replace("Example Tool", "Zeta Viewer"))
            const view = createTemporaryObject(appsComponent, root)
            verify(view.scanner.isScanning || view.scanner.scanProgress === "Done", "a scan as the screen appears")
            finished(view)
            const list = child("appsList", view)
            compare(list.count, 2)
            shows({ appsTracked: "2" }, view)
            // The biggest first, with what its caches hold; the other has nothing reclaimable.
            const [tool, other] = numbered("appRow_", list)
            shows({ appName: "Example Tool", appLocations: "3 locations" }, tool)
            showing({ appReclaimable: true, appLocationList: false }, tool)
            verify(!child("appReclaimable", other).visible)
            // Opened: every place, largest first, each with its kind and reveal.
            mouseClick(child("appHeader", tool))
            laidOut(view)
            const rows = numbered("location_", tool)
            compare(rows.length, 3)
            shows({ locationKind: "Cache", locationPath: "~/.cache/org.example.Tool" }, rows[0])
            mouseClick(child("revealLocation", rows[0]))
            compare(Hooks.lastRevealed(), Hooks.homePath() + "/.cache/org.example.Tool")
            verify(box(child("appLocationList", tool)).bottom <= box(other).top + 0.5, "rows don't overlap once one is open")
            // One open row at a time; a second click closes it.
            mouseClick(child("appHeader", other))
            verify(!child("appLocationList", tool).visible && child("appLocationList", other).visible)
            mouseClick(child("appHeader", other))
            verify(!child("appLocationList", other).visible)
            // Rescan: the list stays while the new one is made.
            const counts = record(list, "count")
            const empty = record(child("appsEmpty", view), "visible")
            runShowsBusy(child("rescanButton", view), () => !view.scanner.isScanning)
            verify(counts.every(n => n === 2) && empty.every(v => v === false), [counts, empty])
        }

        function test_duplicates_groups_and_keeping_one_copy() {
            const size = 1.5 * mib
            for (const path of ["Downloads/Report copy.pdf", "Documents/Report.pdf", "Desktop/Report (1).pdf"])
                Hooks.writeText(path, "7".repeat(size))
            for (const path of ["Music/mix.flac", "Pictures/Old/mix.flac"])
                Hooks.writeText(path, "9".repeat(2 * mib))
            const view = createTemporaryObject(duplicatesComponent, root)
            // Nothing runs until asked; while the scan runs the progress shows.
            showing({ duplicatesEmpty: true, groupsList: false, scanProgress: false }, view)
            const progress = record(child("scanProgress", view), "visible")
            runShowsBusy(child("scanButton", view), () => !view.finder.isScanning)
            compare(progress, [false, true, false])
            // Two groups, the one wasting most first.
            const list = child("groupsList", view)
            compare(list.count, 2)
            shows({ groupCount: "2", reclaimableNow: Format.bytes(2 * size + 2 * mib) }, view)
            const reports = child("groupRow_0", list)
            shows({ groupWasted: Format.bytes(2 * size) + " reclaimable" }, reports)
            verify(!child("groupFiles", reports).visible)
            shows({ groupName: "mix.flac" }, child("groupRow_1", list))
            // Opened: each copy with its place and its two actions.
            mouseClick(child("groupHeader", reports))
            laidOut(view)
            const files = numbered("file_", reports)
            compare(files.map(f => child("filePath", f).text).sort(),
                    ["~/Desktop/Report (1).pdf", "~/Documents/Report.pdf", "~/Downloads/Report copy.pdf"])
            verify(box(child("groupFiles", reports)).bottom <= box(child("groupRow_1", list)).top + 0.5)
            const kept = files.find(f => child("fileName", f).text === "Report.pdf")
            mouseClick(child("revealFile", kept))
            compare(Hooks.lastRevealed(), Hooks.homePath() + "/Documents/Report.pdf")
            // Keep one: the others go to the Trash, the group leaves the list.
            mouseClick(child("keepFile", kept))
            const feedback = child("feedbackLine", view)
            tryCompare(feedback, "visible", true)
            shows({ feedbackText: "Kept Report.pdf, trashed the rest." }, view)
            compare(child("feedbackIcon", view).name, "checkmark.circle.fill")
            verify(Hooks.exists("Documents/Report.pdf") && !Hooks.exists("Downloads/Report copy.pdf") && !Hooks.exists("Desktop/Report (1).pdf"))
            compare(list.count, 1)
            shows({ reclaimableNow: Format.bytes(2 * mib) }, view)
            findDuplicates(view)
            verify(!feedback.visible, "a new scan starts without the last words")
        }

        function test_search_index_filter_and_reveal() {
            seedSearch()
            const view = createTemporaryObject(searchComponent, root)
            showing({ searchEmpty: true, resultsTable: false, resultCount: false }, view) // nothing indexed until asked
            runShowsBusy(child("reindexButton", view), () => !view.search.isIndexing, 30000)
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
            compare(Hooks.lastRevealed(), Hooks.homePath() + "/Documents/annual-report.pdf")
            // The size floor, one step of 10 MB at a time from the keyboard.
            child("minimumSlider", view).forceActiveFocus()
            keyClick(Qt.Key_Right)
            compare(names(view), ["annual-report.pdf"])
            keyClick(Qt.Key_Right)
            compare(child("resultCount", view).text, "0 results")
        }

        // The smallest window: figures, names and sizes stand apart, long names and
        // paths are shortened, and buttons stay inside their cards.
        function test_narrow_window_keeps_rows_apart_data() {
            const folders = "a-rather-long-folder-name-for-a-narrow-window/with-more-levels/"
            const recording = "Quarterly planning meeting recording with the whole product team, final cut.mov"
            const deck = "Documents/Projects/a-client-with-a-long-name/deliverables/2024/final/presentation-for-the-board.key"
            return [{ tag: "apps", component: appsComponent, show: finished,
                      seed: () => {
                          Hooks.writeText(".local/share/applications/org.example.Tool.desktop", entry)
                          Hooks.makeAllocated(".cache/org.example.Tool/" + folders + "cache.bin", 2 * mib)
                      },
                      pairs: [["appsHeader", "rescanButton"], ["appsTracked", "totalFootprint"], ["totalFootprint", "reclaimableFromCaches"]],
                      tiles: ["appsTracked", "totalFootprint", "reclaimableFromCaches"], row: "appRow_0",
                      rowPairs: [["appName", "appSize"], ["appLocations", "appReclaimable"], ["appReclaimable", "appSize"]],
                      opener: "appHeader", inner: "location_0", innerPairs: [["locationPath", "locationSize"], ["locationSize", "revealLocation"]] },
                    { tag: "duplicates", component: duplicatesComponent, show: findDuplicates,
                      seed: () => ["Movies/", "Downloads/"].forEach(folder => Hooks.writeText(folder + recording, "4".repeat(1.2 * mib))),
                      pairs: [["duplicatesHeader", "scanButton"], ["groupCount", "reclaimableNow"]], tiles: ["groupCount", "reclaimableNow"],
                      row: "groupRow_0", rowPairs: [["groupName", "groupWasted"]], elided: "groupName", opener: "groupHeader", inner: "file_0",
                      innerPairs: [["fileName", "revealFile"], ["filePath", "revealFile"], ["revealFile", "keepFile"]] },
                    { tag: "search", component: searchComponent, show: view => { reindex(view); type(view, "presentation") },
                      seed: () => Hooks.makeAllocated(deck, 2 * mib), tiles: [], inside: "minimumValue",
                      pairs: [["searchHeader", "reindexButton"], ["queryField", "minimumLabel"], ["minimumLabel", "minimumSlider"],
                              ["minimumSlider", "minimumValue"], ["nameColumn", "pathColumn"]],
                      row: "resultRow_0", elided: "resultPath", full: ["resultSize", "resultModified"],
                      rowPairs: [["resultName", "resultPath"], ["resultPath", "resultSize"], ["resultSize", "resultModified"],
                                 ["resultModified", "revealResult"]],
                      // Titles over their columns, however long the path.
                      columns: [["pathColumn", "resultPath", "left"], ["sizeColumn", "resultSize", "right"],
                                ["modifiedColumn", "resultModified", "left"]] }]
        }
        function test_narrow_window_keeps_rows_apart(data) {
            narrow(true)
            data.seed()
            const view = createTemporaryObject(data.component, root)
            data.show(view)
            leftOf(data.pairs, view)
            for (const tile of data.tiles) {
                verify(!child("statCaption", child(tile, view)).truncated && !child("statValue", child(tile, view)).truncated, tile + " in full")
                verify(box(child(tile, view)).right <= root.width, tile + " fits")
            }
            const row = child(data.row, view)
            leftOf(data.rowPairs, row)
            if (data.elided)
                verify(child(data.elided, row).truncated, data.elided + " shortened")
            for (const name of data.full || [])
                verify(!child(name, row).truncated, name + " in full")
            for (const [title, cell, edge] of data.columns || [])
                compare(box(child(title, view))[edge], box(child(cell, row))[edge], title)
            if (data.inside)
                verify(box(child(data.inside, view)).right <= root.width - 32, data.inside + " inside the card")
            if (data.opener) {
                mouseClick(child(data.opener, row))
                laidOut(view)
                const inner = child(data.inner, row)
                leftOf(data.innerPairs, inner)
                verify(box(child(data.innerPairs[data.innerPairs.length - 1][1], inner)).right <= root.width - 32, "the button inside the card")
            }
        }
    }
}
