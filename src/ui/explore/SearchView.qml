import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Search: any file by name and size, answered at once from an index of the
// applications folder and the home folder. The index belongs to this screen
// and is built on request only.
Item {
    id: view
    readonly property var search: Services.newSearch(view)
    readonly property bool indexing: search.isIndexing
    readonly property bool hasIndex: search.indexCount > 0
    property string query: ""
    property real minMB: 0
    property int clock: 0 // ticks now and then, so that "Indexed … ago" stays true
    // The table: asked anew whenever the query, the size floor or the index changes.
    readonly property var rows: {
        search.indexCount
        search.lastIndexedAt
        return search.searchRows(query, minMB, 500)
    }

    function hasDate(when) { return when !== null && when !== undefined && !isNaN(when.getTime()) }

    Timer {
        interval: 30000
        repeat: true
        running: view.visible && view.hasDate(view.search.lastIndexedAt)
        onTriggered: view.clock++
    }

    // The table's column widths, shared by the header and the rows.
    readonly property real nameWidth: Math.max(160, Math.round(table.width * 0.3))
    readonly property int sizeWidth: 76
    readonly property int modifiedWidth: 104
    readonly property int revealWidth: 34

    component ColumnTitle: Caption {
        font.weight: Font.DemiBold
        elide: Text.ElideRight
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap
            PageHeader {
                objectName: "searchHeader"
                Layout.fillWidth: true
                title: "Search"
                subtitle: "Find any file on your Mac by name and size. The index covers /Applications and your entire home folder."
            }
            AppButton {
                objectName: "reindexButton"
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 2
                kind: view.hasIndex ? "secondary" : "primary"
                iconName: "arrow.clockwise"
                busy: view.indexing
                enabled: !view.indexing
                text: view.indexing ? "Indexing…" : "Re-index"
                onClicked: view.search.startRebuild()
            }
        }

        // The query: a name filter and a size floor.
        Card {
            objectName: "filters"
            Layout.fillWidth: true
            padding: 14

            RowLayout {
                width: parent.width
                spacing: 14

                TextField {
                    id: field
                    objectName: "queryField"
                    Layout.fillWidth: true
                    Layout.minimumWidth: 140
                    placeholderText: "Filter by name"
                    placeholderTextColor: Theme.mutedText
                    color: Theme.text
                    selectionColor: Theme.indigo
                    selectedTextColor: Theme.onAccent
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.bodySize
                    leftPadding: 34
                    rightPadding: 10
                    topPadding: 8
                    bottomPadding: 8
                    onTextChanged: view.query = text
                    background: Rectangle {
                        implicitHeight: 34
                        radius: Theme.smallRadius
                        color: Theme.page
                        border.width: 1
                        border.color: field.activeFocus ? Theme.indigo : Theme.hairline
                        Icon {
                            objectName: "queryIcon"
                            anchors.left: parent.left
                            anchors.leftMargin: 10
                            anchors.verticalCenter: parent.verticalCenter
                            name: "magnifyingglass"
                            size: 17
                            color: Theme.tertiaryText
                        }
                    }
                }

                Body {
                    objectName: "minimumLabel"
                    text: "Minimum size:"
                }
                Slider {
                    id: slider
                    objectName: "minimumSlider"
                    Layout.preferredWidth: 170
                    from: 0
                    to: 2000
                    stepSize: 10
                    snapMode: Slider.SnapAlways
                    value: view.minMB
                    onMoved: view.minMB = value
                    background: Rectangle {
                        x: slider.leftPadding
                        y: slider.topPadding + slider.availableHeight / 2 - height / 2
                        width: slider.availableWidth
                        height: 4
                        radius: 2
                        color: Theme.track
                        Rectangle {
                            width: slider.visualPosition * parent.width
                            height: parent.height
                            radius: 2
                            gradient: Gradient {
                                orientation: Gradient.Horizontal
                                GradientStop { position: 0; color: Theme.indigo }
                                GradientStop { position: 1; color: Theme.violet }
                            }
                        }
                    }
                    handle: Rectangle {
                        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
                        y: slider.topPadding + slider.availableHeight / 2 - height / 2
                        implicitWidth: 18
                        implicitHeight: 18
                        radius: 9
                        color: Theme.card
                        border.width: 1
                        border.color: slider.pressed ? Theme.indigo : Theme.hairline
                    }
                }
                Body {
                    id: minimumValue
                    objectName: "minimumValue"
                    Layout.preferredWidth: widest.advanceWidth // the label keeps its place as the number grows
                    text: Math.round(view.minMB) + " MB+"
                    horizontalAlignment: Text.AlignRight
                    font.weight: Font.DemiBold
                    color: Theme.text
                    TextMetrics { id: widest; font: minimumValue.font; text: "2000 MB+" }
                }
            }
        }

        // Where the index stands, and how many files answer; nothing before a first index.
        RowLayout {
            Layout.fillWidth: true
            visible: view.hasIndex || view.indexing
            Layout.leftMargin: 4
            Layout.rightMargin: 4
            spacing: 8
            Spinner {
                visible: view.indexing
                implicitWidth: 14
                implicitHeight: 14
            }
            Caption {
                objectName: "indexStatus"
                Layout.fillWidth: true
                text: {
                    view.clock
                    if (!view.indexing && view.hasDate(view.search.lastIndexedAt))
                        return "Indexed " + Format.timeSince(view.search.lastIndexedAt)
                    return view.search.progress
                }
                elide: Text.ElideRight
            }
            Caption {
                objectName: "resultCount"
                visible: view.hasIndex
                text: view.rows.length + " result" + (view.rows.length === 1 ? "" : "s")
                font.weight: Font.DemiBold
                color: Theme.secondaryText
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8

            EmptyState {
                objectName: "searchEmpty"
                anchors.centerIn: parent
                width: Math.min(parent.width - 32, 460)
                visible: !view.hasIndex
                iconName: "magnifyingglass"
                title: "Build an index first"
                message: "Click \"Re-index\" to scan your Applications and home folder. After that, search is instant."
            }

            ColumnLayout {
                id: table
                objectName: "resultsTable"
                anchors.fill: parent
                visible: view.hasIndex
                spacing: 0

                RowLayout {
                    objectName: "tableHeader"
                    Layout.fillWidth: true
                    Layout.leftMargin: 12
                    Layout.rightMargin: 8
                    Layout.topMargin: 6
                    Layout.bottomMargin: 8
                    spacing: 12
                    ColumnTitle { objectName: "nameColumn"; Layout.preferredWidth: view.nameWidth; text: "Name" }
                    ColumnTitle { objectName: "pathColumn"; Layout.fillWidth: true; text: "Path" }
                    ColumnTitle {
                        objectName: "sizeColumn"
                        Layout.preferredWidth: view.sizeWidth
                        horizontalAlignment: Text.AlignRight
                        text: "Size"
                    }
                    ColumnTitle { objectName: "modifiedColumn"; Layout.preferredWidth: view.modifiedWidth; text: "Modified" }
                    Item { Layout.preferredWidth: view.revealWidth }
                }
                Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.hairline }

                ListView {
                    id: list
                    objectName: "resultsList"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    model: view.rows
                    ScrollBar.vertical: ScrollBar {}
                    delegate: Rectangle {
                        id: resultRow
                        required property var modelData
                        required property int index
                        objectName: "resultRow_" + index
                        width: ListView.view.width
                        height: 40
                        radius: Theme.smallRadius
                        color: rowHover.hovered ? Theme.selection : index % 2 === 1 ? Theme.pale(Theme.slate, 0.04) : "transparent"
                        HoverHandler { id: rowHover }
                        TapHandler { onDoubleTapped: Services.reveal(resultRow.modelData.path) }

                        RowLayout {
                            anchors.fill: parent
                            anchors.leftMargin: 12
                            anchors.rightMargin: 8
                            spacing: 12
                            RowLayout {
                                Layout.preferredWidth: view.nameWidth
                                Layout.minimumWidth: view.nameWidth
                                Layout.maximumWidth: view.nameWidth
                                spacing: 8
                                Icon { name: "doc"; size: 16; color: Theme.indigo }
                                Body {
                                    objectName: "resultName"
                                    Layout.fillWidth: true
                                    text: resultRow.modelData.name
                                    elide: Text.ElideMiddle
                                    font.weight: Font.Medium
                                    color: Theme.text
                                }
                            }
                            Caption {
                                objectName: "resultPath"
                                Layout.fillWidth: true
                                Layout.preferredWidth: 1 // the column's width, however long the path
                                text: resultRow.modelData.folder
                                elide: Text.ElideMiddle
                            }
                            Body {
                                objectName: "resultSize"
                                Layout.preferredWidth: view.sizeWidth
                                horizontalAlignment: Text.AlignRight
                                text: Format.bytes(resultRow.modelData.bytes)
                                elide: Text.ElideLeft
                                font.weight: Font.DemiBold
                                color: Theme.text
                            }
                            Caption {
                                objectName: "resultModified"
                                Layout.preferredWidth: view.modifiedWidth
                                text: view.hasDate(resultRow.modelData.modifiedAt)
                                      ? resultRow.modelData.modifiedAt.toLocaleDateString(Qt.locale(), Locale.ShortFormat)
                                      : "—"
                                elide: Text.ElideRight
                                color: Theme.secondaryText
                            }
                            AppButton {
                                objectName: "revealResult"
                                Layout.preferredWidth: view.revealWidth
                                kind: "plain"
                                leftPadding: 8
                                rightPadding: 8
                                iconName: "arrow.up.right.square"
                                ToolTip.visible: hovered
                                ToolTip.delay: 400
                                ToolTip.text: "Reveal in Finder"
                                onClicked: Services.reveal(resultRow.modelData.path)
                            }
                        }
                    }
                }
            }
        }
    }
}
