import QtQuick
import QtQuick.Layouts
import Tessoly

// Explore: a row of tabs and the selected tool under it.
ColumnLayout {
    id: explore
    spacing: 0

    TabRow {
        id: tabs
        objectName: "exploreTabs"
        Layout.topMargin: Theme.pageMargin - 8
        Layout.leftMargin: Theme.pageMargin
        labels: ["Big Files"]
    }

    BigFilesView {
        Layout.fillWidth: true
        Layout.fillHeight: true
    }
}
