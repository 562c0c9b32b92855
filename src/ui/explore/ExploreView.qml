import QtQuick
import QtQuick.Layouts
import Tessoly

// Explore: a row of tabs and the selected tool under it. Only the selected
// tool exists: each makes its own service, so leaving a tab drops its scan or
// index and coming back starts afresh. A new tool slides in from the side of
// its tab.
ColumnLayout {
    id: explore
    spacing: 0
    readonly property var tools: [bigFiles, apps, duplicates, search]
    property int shownIndex: 0

    TabRow {
        id: tabs
        objectName: "exploreTabs"
        Layout.topMargin: Theme.pageMargin - 8
        Layout.leftMargin: Theme.pageMargin
        labels: ["Big Files", "Apps", "Duplicates", "Search"]
    }

    Loader {
        id: tool
        objectName: "exploreTool"
        Layout.fillWidth: true
        Layout.fillHeight: true
        sourceComponent: explore.tools[tabs.currentIndex]
        transform: Translate { id: shift }
        onLoaded: {
            const direction = Math.sign(tabs.currentIndex - explore.shownIndex)
            explore.shownIndex = tabs.currentIndex
            if (direction === 0)
                return
            shift.x = direction * 28
            opacity = 0
            slideIn.restart()
        }
    }

    ParallelAnimation {
        id: slideIn
        NumberAnimation { target: shift; property: "x"; to: 0; duration: Theme.panelMs; easing.type: Easing.OutCubic }
        NumberAnimation { target: tool; property: "opacity"; to: 1; duration: Theme.panelMs; easing.type: Easing.OutCubic }
    }

    Component { id: bigFiles; BigFilesView { objectName: "bigFilesView" } }
    Component { id: apps; AppsView { objectName: "appsView" } }
    Component { id: duplicates; DuplicatesView { objectName: "duplicatesView" } }
    Component { id: search; SearchView { objectName: "searchView" } }
}
