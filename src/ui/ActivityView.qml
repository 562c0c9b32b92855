import QtQuick
import QtQuick.Layouts
import Tessoly

// Activity: the log of everything Tessoly has done.
ColumnLayout {
    spacing: 0

    TabRow {
        objectName: "activityTabs"
        Layout.topMargin: Theme.pageMargin - 8
        Layout.leftMargin: Theme.pageMargin
        labels: ["History"]
        icons: ["clock.arrow.circlepath"]
    }

    HistoryView {
        Layout.fillWidth: true
        Layout.fillHeight: true
    }
}
