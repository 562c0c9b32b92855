import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Search screen on the temporary home: files written there, indexed on
// request, filtered by name and size as the person types and slides.
Item {
    id: root
    width: 1240
    height: 900

    Component { id: searchComponent; SearchView { anchors.fill: parent } }
    Component { id: exploreComponent; ExploreView { anchors.fill: parent } }

    TestCase {
        name: "Search"
        when: windowShown

        readonly property int mib: 1048576

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

        function reindex(view) {
            const button = child(view, "reindexButton")
            tryCompare(button, "enabled", true)
            mouseClick(button)
            tryVerify(() => !view.search.isIndexing && view.search.indexCount > 0, 30000, "the index was built: " + view.search.isIndexing + " " + view.search.indexCount + " " + view.search.progress)
            wait(20) // let the rows lay out
        }

        // Types into the name field as a person would, replacing what it held.
        function type(view, text) {
            const field = child(view, "queryField")
            mouseClick(field)
            keyClick(Qt.Key_A, Qt.ControlModifier)
            keyClick(Qt.Key_Backspace)
            for (const c of text)
                keyClick(c)
            wait(20)
        }

        function names(view) {
            const list = child(view, "resultsList")
            const found = []
            for (let i = 0; i < list.count; ++i) {
                list.positionViewAtIndex(i, ListView.Contain)
                found.push(child(list, "resultRow_" + i).modelData.name)
            }
            return found
        }

        function init() {
            Hooks.makeAllocated("Documents/annual-report.pdf", 12 * mib)
            Hooks.writeText("Documents/Notes/Report-2024.txt", "draft")
            Hooks.writeText("Documents/2024/summary.txt", "one line")
            Hooks.writeText("Documents/.secret-report.txt", "hidden")
            Hooks.makeAllocated("Downloads/archive.zip", 30 * mib)
        }

        function cleanup() {
            root.width = 1240
            root.height = 900
            Hooks.removePath("Documents")
            Hooks.removePath("Downloads")
        }

        function test_before_an_index_is_built() {
            const view = createTemporaryObject(searchComponent, root)
            const header = child(view, "searchHeader")
            compare(header.title, "Search")
            compare(header.subtitle,
                    "Find any file on your Mac by name and size. The index covers /Applications and your entire home folder.")
            const button = child(view, "reindexButton")
            compare(button.text, "Re-index")
            compare(button.iconName, "arrow.clockwise")
            verify(button.enabled)
            verify(!view.search.isIndexing) // nothing is indexed until asked
            compare(child(view, "queryField").placeholderText, "Filter by name")
            compare(child(view, "queryIcon").name, "magnifyingglass")
            compare(child(view, "minimumLabel").text, "Minimum size:")
            compare(child(view, "minimumValue").text, "0 MB+")
            const slider = child(view, "minimumSlider")
            compare(slider.from, 0)
            compare(slider.to, 2000)
            compare(slider.stepSize, 10)

            const empty = child(view, "searchEmpty")
            verify(empty.visible)
            compare(empty.title, "Build an index first")
            compare(empty.message,
                    "Click \"Re-index\" to scan your Applications and home folder. After that, search is instant.")
            verify(!child(view, "resultsTable").visible)
            verify(!child(view, "resultCount").visible)
            compare(child(view, "indexStatus").text, "")
        }

        function test_index_filter_and_reveal() {
            const view = createTemporaryObject(searchComponent, root)
            const button = child(view, "reindexButton")
            const texts = record(button, "text")
            const enabled = record(button, "enabled")
            const status = record(child(view, "indexStatus"), "text")
            mouseClick(button)
            tryVerify(() => !view.search.isIndexing, 30000, "the index was built")
            wait(20)
            compare(texts, ["Re-index", "Indexing…", "Re-index"])
            compare(enabled, [true, false, true])
            verify(status.indexOf("Indexing…") >= 0, status)
            verify(button.enabled)
            verify(/^Indexed \d+ seconds? ago$/.test(child(view, "indexStatus").text), child(view, "indexStatus").text)
            verify(!child(view, "searchEmpty").visible)
            verify(child(view, "resultsTable").visible)
            compare(child(view, "nameColumn").text, "Name")
            compare(child(view, "pathColumn").text, "Path")
            compare(child(view, "sizeColumn").text, "Size")
            compare(child(view, "modifiedColumn").text, "Modified")
            const list = child(view, "resultsList")
            verify(list.count > 0)
            compare(child(view, "resultCount").text, list.count + " result" + (list.count === 1 ? "" : "s"))

            // The name only, in any case: "REPORT" finds both reports, the biggest first; hidden files never.
            type(view, "REPORT")
            compare(names(view), ["annual-report.pdf", "Report-2024.txt"])
            compare(child(view, "resultCount").text, "2 results")
            const first = child(list, "resultRow_0")
            compare(child(first, "resultName").text, "annual-report.pdf")
            compare(child(first, "resultPath").text, "~/Documents")
            compare(child(first, "resultSize").text, Format.bytes(12 * mib))
            verify(child(first, "resultModified").text !== "—")
            verify(child(first, "resultModified").text !== "")
            compare(child(child(list, "resultRow_1"), "resultPath").text, "~/Documents/Notes")

            // A row shows its file.
            mouseClick(child(first, "revealResult"))
            compare(Hooks.revealed[Hooks.revealed.length - 1], Hooks.homePath() + "/Documents/annual-report.pdf")

            // Folders on the path don't count.
            type(view, "2024/summary")
            compare(list.count, 0)
            compare(child(view, "resultCount").text, "0 results")
            type(view, "summary")
            compare(names(view), ["summary.txt"])
            compare(child(view, "resultCount").text, "1 result")

            // The size floor, one step of 10 MB at a time from the keyboard.
            type(view, "report")
            const slider = child(view, "minimumSlider")
            slider.forceActiveFocus()
            keyClick(Qt.Key_Right)
            compare(view.minMB, 10)
            compare(child(view, "minimumValue").text, "10 MB+")
            compare(names(view), ["annual-report.pdf"])
            compare(child(view, "resultCount").text, "1 result")
            keyClick(Qt.Key_Right)
            compare(child(view, "minimumValue").text, "20 MB+")
            compare(list.count, 0)
            type(view, "")
            verify(names(view).indexOf("archive.zip") >= 0) // 30 MB
            verify(names(view).indexOf("annual-report.pdf") < 0) // 12 MB

            // A new index answers the same query anew.
            Hooks.makeAllocated("Downloads/archive-2.zip", 40 * mib)
            type(view, "archive")
            compare(names(view), ["archive.zip"])
            reindex(view)
            compare(names(view), ["archive-2.zip", "archive.zip"])
        }

        // The screen's share of the smallest window: the filters, the table's
        // columns and a long path stay apart.
        function test_narrow_window_keeps_columns_apart() {
            root.width = 744
            root.height = 640
            Hooks.makeAllocated("Documents/Projects/a-client-with-a-long-name/deliverables/2024/final/presentation-for-the-board.key", 2 * mib)
            const view = createTemporaryObject(searchComponent, root)
            reindex(view)
            type(view, "presentation")
            const before = (a, b, what) => verify(box(a).right <= box(b).left + 0.5, what + ": " + box(a).right + " > " + box(b).left)
            before(child(view, "searchHeader"), child(view, "reindexButton"), "heading and button")
            before(child(view, "queryField"), child(view, "minimumLabel"), "field and label")
            before(child(view, "minimumLabel"), child(view, "minimumSlider"), "label and slider")
            before(child(view, "minimumSlider"), child(view, "minimumValue"), "slider and value")
            verify(box(child(view, "minimumValue")).right <= root.width - 32, "the value inside the card")
            verify(!child(view, "minimumLabel").truncated)
            const row = child(child(view, "resultsList"), "resultRow_0")
            before(child(row, "resultName"), child(row, "resultPath"), "name and path")
            before(child(row, "resultPath"), child(row, "resultSize"), "path and size")
            before(child(row, "resultSize"), child(row, "resultModified"), "size and date")
            before(child(row, "resultModified"), child(row, "revealResult"), "date and reveal")
            verify(child(row, "resultPath").truncated)
            verify(!child(row, "resultSize").truncated)
            verify(!child(row, "resultModified").truncated)
            before(child(view, "nameColumn"), child(view, "pathColumn"), "column titles")
            // Titles over their columns, however long the path.
            compare(box(child(view, "pathColumn")).left, box(child(row, "resultPath")).left)
            compare(box(child(view, "sizeColumn")).right, box(child(row, "resultSize")).right)
            compare(box(child(view, "modifiedColumn")).left, box(child(row, "resultModified")).left)
        }

        // Explore keeps only the open tool: the index goes when the tab is left.
        function test_leaving_the_tab_drops_the_index() {
            const explore = createTemporaryObject(exploreComponent, root)
            mouseClick(child(explore, "tab_Search"))
            wait(0)
            const first = child(explore, "searchView")
            reindex(first)
            verify(!child(first, "searchEmpty").visible)
            mouseClick(child(explore, "tab_Big Files"))
            wait(0)
            verify(!findChild(explore, "searchView"))
            mouseClick(child(explore, "tab_Search"))
            wait(0)
            const second = child(explore, "searchView")
            compare(second.search.indexCount, 0)
            verify(child(second, "searchEmpty").visible)
        }
    }
}
