import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The log of every operation, with its undo.
Item {
    id: view
    property var history: Services.history
    property string expandedEntryId: ""
    property var restoreFeedback: ({ entryId: "", message: "" })

    // Runs here, not in the row: a restore rebuilds the rows.
    function restoreEntry(id) {
        const message = history.restore(id)
        restoreFeedback = { entryId: id, message: message }
        expandedEntryId = id
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap

        PageHeader {
            Layout.fillWidth: true
            title: "History"
            subtitle: "A complete log of everything Tessoly has done. Restore anything still in Trash with one click."
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            StatTile {
                objectName: "totalReclaimed"
                Layout.fillWidth: true
                Layout.preferredWidth: 1 // three equal columns
                caption: "Total reclaimed"
                value: Format.bytes(view.history.totalReclaimed)
                iconName: "sparkles"
                tint: Theme.violet
            }
            StatTile {
                objectName: "operations"
                Layout.fillWidth: true
                Layout.preferredWidth: 1 // three equal columns
                caption: "Operations"
                value: String(view.history.operations)
                iconName: "clock.arrow.circlepath"
                tint: Theme.indigo
            }
            StatTile {
                objectName: "restorable"
                Layout.fillWidth: true
                Layout.preferredWidth: 1 // three equal columns
                caption: "Restorable"
                value: String(view.history.restorable)
                iconName: "arrow.uturn.backward"
                tint: Theme.orange
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8

            EmptyState {
                objectName: "historyEmpty"
                anchors.centerIn: parent
                visible: list.count === 0
                iconName: "clock.arrow.circlepath"
                title: "Nothing here yet"
                message: "Every cleanup, trash, and external-move will be logged here so you can audit and undo."
            }

            ListView {
                id: list
                objectName: "historyList"
                anchors.fill: parent
                clip: true
                spacing: 2
                model: view.history
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}
                delegate: HistoryRow {
                    width: ListView.view.width
                    expanded: view.expandedEntryId === entryId
                    feedback: view.restoreFeedback.entryId === entryId ? view.restoreFeedback.message : ""
                    onToggled: view.expandedEntryId = expanded ? "" : entryId
                    onRestoreRequested: view.restoreEntry(entryId)
                }
            }
        }
    }
}
