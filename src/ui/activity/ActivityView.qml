import QtQuick
import QtQuick.Layouts
import Tessoly

// Activity: the moves to external drives (shown first), and the log of everything Tessoly has done.
ColumnLayout {
    spacing: 0

    TabRow {
        id: tabs
        objectName: "activityTabs"
        Layout.topMargin: Theme.pageMargin - 8
        Layout.leftMargin: Theme.pageMargin
        labels: ["Moves", "History"]
        icons: ["externaldrive.connected.to.line.below", "clock.arrow.circlepath"]
    }

    StackLayout {
        Layout.fillWidth: true
        Layout.fillHeight: true
        currentIndex: tabs.currentIndex
        MovesView { objectName: "movesView" }
        HistoryView { objectName: "historyView" }
    }
}
