import QtQuick
import QtQuick.Layouts
import Tessoly

// Activity: the log of everything Tessoly has done, and the moves to external drives.
ColumnLayout {
    spacing: 0

    TabRow {
        id: tabs
        objectName: "activityTabs"
        Layout.topMargin: Theme.pageMargin - 8
        Layout.leftMargin: Theme.pageMargin
        labels: ["History", "Moves"]
        icons: ["clock.arrow.circlepath", "externaldrive.connected.to.line.below"]
    }

    StackLayout {
        Layout.fillWidth: true
        Layout.fillHeight: true
        currentIndex: tabs.currentIndex
        HistoryView { objectName: "historyView" }
        MovesView { objectName: "movesView" }
    }
}
