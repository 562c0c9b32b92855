import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// System Data X-Ray: the one opaque "System Data" figure taken apart into
// named slices, each with its size, what it is, and what is safe to do about
// it. Before the first scan only an invitation shows.
Item {
    id: view
    property var xray: Services.xray
    readonly property var slices: xray.slices
    readonly property bool scanning: xray.isScanning
    readonly property bool scanned: xray.hasScanned
    readonly property var workingIds: xray.workingSliceIds
    readonly property var results: xray.results
    property string expandedSliceId: "" // the open row
    property int clock: 0 // ticks now and then, so that "scanned … ago" stays true

    function isWorking(id) { return workingIds.indexOf(id) >= 0 }
    function resultOf(id) { return results[id] === undefined ? null : results[id] }
    function hasDate(when) { return when !== null && when !== undefined && !isNaN(when.getTime()) }

    function actionLabel(action) {
        switch (action) {
        case "clean": return "Clean"
        case "reveal": return "Show in Finder"
        case "thinSnapshots": return "Reclaim"
        default: return ""
        }
    }
    function actionIcon(action) {
        switch (action) {
        case "clean": return "sparkles"
        case "reveal": return "folder"
        case "thinSnapshots": return "externaldrive.fill.badge.timemachine"
        default: return ""
        }
    }
    // The verdict's colour: what can go at once, what wants a look first, and the rest.
    function badgeTint(slice) {
        if (slice.action === "clean" || slice.action === "thinSnapshots")
            return Theme.green
        if (slice.badge === "Review first")
            return Theme.orange
        return Theme.slate
    }

    Timer {
        interval: 30000
        repeat: true
        running: view.scanned && view.visible
        onTriggered: view.clock++
    }

    // All slices in one rounded bar, each as wide as its share of the total.
    // Every segment is a window onto a whole rounded bar of its colour, so the
    // first and last keep the bar's round ends whatever their widths.
    component SliceBar: Item {
        id: bar
        property var slices: []
        readonly property real total: slices.reduce((sum, s) => sum + s.bytes, 0)
        readonly property var starts: {
            const result = []
            let sum = 0
            for (const s of slices) {
                result.push(sum)
                sum += s.bytes
            }
            return result
        }
        implicitHeight: 16

        Rectangle {
            anchors.fill: parent
            radius: height / 2
            color: Theme.track
        }
        Repeater {
            model: bar.total > 0 ? bar.slices : []
            delegate: Item {
                id: segment
                required property var modelData
                required property int index
                readonly property real offset: bar.width * bar.starts[index] / bar.total
                readonly property real share: bar.width * modelData.bytes / bar.total
                readonly property bool last: index === bar.slices.length - 1
                objectName: "segment_" + modelData.id
                x: offset
                height: bar.height
                // A hairline of the card between neighbours, where there is room for it.
                width: Math.max(0, share - (!last && share > 4 ? 2 : 0))
                clip: true
                Rectangle {
                    x: -segment.offset
                    width: bar.width
                    height: bar.height
                    radius: height / 2
                    color: Theme.tint(segment.modelData.tint)
                }
            }
        }
    }

    ScrollView {
        id: scroller
        objectName: "xrayScroll"
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: scroller.availableWidth
            spacing: Theme.gap

            Component.onCompleted: introRise.enter()

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: Theme.pageMargin
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                spacing: Theme.gap
                PageHeader {
                    objectName: "xrayHeader"
                    Layout.fillWidth: true
                    title: "System Data X-Ray"
                    subtitle: "macOS hides gigabytes behind one number called \"System Data\". This decodes it."
                }
                AppButton {
                    objectName: "scanButton"
                    Layout.alignment: Qt.AlignTop
                    Layout.topMargin: 2
                    kind: "primary"
                    iconName: view.scanned ? "arrow.clockwise" : "rays"
                    busy: view.scanning
                    enabled: !view.scanning
                    text: view.scanned ? "Re-scan" : "Run X-Ray"
                    onClicked: view.xray.startScan()
                }
            }

            // Before the first scan: what this is about.
            Card {
                id: introCard
                objectName: "introCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: !view.scanned
                padding: 24
                transform: introRise.shift
                RiseIn { id: introRise; target: introCard; order: 0 }

                RowLayout {
                    width: parent.width
                    spacing: 16
                    Rectangle {
                        Layout.alignment: Qt.AlignTop
                        implicitWidth: 48; implicitHeight: 48; radius: 14
                        gradient: Gradient {
                            orientation: Gradient.Horizontal
                            GradientStop { position: 0; color: Theme.indigo }
                            GradientStop { position: 1; color: Theme.violet }
                        }
                        Icon { anchors.centerIn: parent; name: "rays"; size: 24; color: Theme.onAccent }
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 6
                        Title {
                            objectName: "introTitle"
                            Layout.fillWidth: true
                            text: "What's actually in your System Data?"
                            wrapMode: Text.WordWrap
                        }
                        Body {
                            objectName: "introBody"
                            Layout.fillWidth: true
                            text: "Apple's storage settings lump caches, logs, old iPhone backups, Time Machine snapshots, Docker images and more into one unexplained number — often 50-200 GB. Run the X-Ray to see every contributor, what it is, and what's safe to do about it."
                            wrapMode: Text.WordWrap
                            lineHeight: 1.1
                        }
                    }
                }
            }

            // After a scan: the decoded total, when, and the bar of every slice.
            Card {
                objectName: "summaryCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: view.scanned
                padding: 24

                ColumnLayout {
                    width: parent.width
                    spacing: 14
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 2
                        Row {
                            spacing: 10
                            Text {
                                id: decodedTotal
                                objectName: "decodedTotal"
                                text: Format.bytes(view.xray.totalBytes)
                                font.family: Theme.fontFamily
                                font.pixelSize: 34
                                font.weight: Font.Bold
                                color: Theme.text
                            }
                            Text {
                                objectName: "decodedCaption"
                                // on the figure's baseline
                                y: decodedTotal.baselineOffset - baselineOffset
                                text: "decoded"
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.headingSize
                                font.weight: Font.Medium
                                color: Theme.tertiaryText
                            }
                        }
                        Caption {
                            objectName: "scannedAt"
                            Layout.fillWidth: true
                            text: {
                                view.clock
                                return view.hasDate(view.xray.lastScanAt)
                                    ? "scanned " + Format.timeSince(view.xray.lastScanAt) : ""
                            }
                            elide: Text.ElideRight
                        }
                    }
                    SliceBar {
                        objectName: "sliceBar"
                        Layout.fillWidth: true
                        slices: view.slices
                    }
                }
            }

            // Every contributor, biggest first as scanned; a row opens to say why and what to do.
            Card {
                objectName: "slicesCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: view.scanned
                padding: 24

                ColumnLayout {
                    width: parent.width
                    spacing: 12

                    RowLayout {
                        Layout.fillWidth: true
                        Heading {
                            objectName: "listTitle"
                            Layout.fillWidth: true
                            text: "Inside the number"
                        }
                        Caption {
                            objectName: "contributorCount"
                            text: view.slices.length + " contributors"
                        }
                    }

                    Repeater {
                        objectName: "sliceRows"
                        model: view.slices
                        delegate: ColumnLayout {
                            id: sliceRow
                            required property var modelData
                            required property int index
                            readonly property bool expanded: view.expandedSliceId === modelData.id
                            readonly property bool working: view.isWorking(modelData.id)
                            readonly property var result: view.resultOf(modelData.id)
                            readonly property color tint: Theme.tint(modelData.tint)
                            objectName: "slice_" + modelData.id
                            Layout.fillWidth: true
                            spacing: 10

                            Hairline {}

                            Item {
                                objectName: "sliceHeader"
                                Layout.fillWidth: true
                                implicitHeight: headerRow.implicitHeight

                                MouseArea {
                                    anchors.fill: parent
                                    cursorShape: Qt.PointingHandCursor
                                    onClicked: view.expandedSliceId = sliceRow.expanded ? "" : sliceRow.modelData.id
                                }

                                RowLayout {
                                    id: headerRow
                                    width: parent.width
                                    spacing: 12
                                    Rectangle {
                                        Layout.alignment: Qt.AlignTop
                                        implicitWidth: 36; implicitHeight: 36; radius: 10
                                        color: Theme.pale(sliceRow.tint)
                                        Icon {
                                            objectName: "sliceIcon"
                                            anchors.centerIn: parent
                                            name: sliceRow.modelData.icon
                                            size: 20
                                            color: sliceRow.tint
                                        }
                                    }
                                    ColumnLayout {
                                        Layout.fillWidth: true
                                        spacing: 2
                                        RowTitle {
                                            objectName: "sliceName"
                                            Layout.fillWidth: true
                                            text: sliceRow.modelData.name
                                            elide: Text.ElideRight
                                        }
                                        Caption {
                                            objectName: "sliceDetail"
                                            Layout.fillWidth: true
                                            text: sliceRow.modelData.detail
                                            wrapMode: Text.WordWrap
                                        }
                                    }
                                    Spinner {
                                        objectName: "sliceSpinner"
                                        Layout.alignment: Qt.AlignVCenter
                                        visible: sliceRow.working
                                        implicitWidth: 18
                                        implicitHeight: 18
                                    }
                                    ColumnLayout {
                                        Layout.alignment: Qt.AlignTop
                                        spacing: 4
                                        RowTitle {
                                            objectName: "sliceSize"
                                            Layout.alignment: Qt.AlignRight
                                            text: Format.bytes(sliceRow.modelData.bytes)
                                        }
                                        Rectangle {
                                            Layout.alignment: Qt.AlignRight
                                            implicitWidth: badgeText.implicitWidth + 14
                                            implicitHeight: badgeText.implicitHeight + 4
                                            radius: height / 2
                                            color: Theme.pale(view.badgeTint(sliceRow.modelData), 0.12)
                                            Text {
                                                id: badgeText
                                                objectName: "sliceBadge"
                                                anchors.centerIn: parent
                                                text: sliceRow.modelData.badge
                                                font.family: Theme.fontFamily
                                                font.pixelSize: 11
                                                font.weight: Font.DemiBold
                                                color: view.badgeTint(sliceRow.modelData)
                                            }
                                        }
                                    }
                                    Icon {
                                        objectName: "sliceChevron"
                                        Layout.alignment: Qt.AlignVCenter
                                        name: sliceRow.expanded ? "chevron.down" : "chevron.right"
                                        size: 20
                                        color: Theme.mutedText
                                    }
                                }
                            }

                            // Opened: why this exists, and the one thing to do about it.
                            Rectangle {
                                objectName: "sliceDetails"
                                Layout.fillWidth: true
                                Layout.leftMargin: 48
                                visible: sliceRow.expanded
                                implicitHeight: details.implicitHeight + 28
                                radius: Theme.smallRadius
                                color: Theme.pale(sliceRow.tint, 0.06)
                                border.width: 1
                                border.color: Theme.pale(sliceRow.tint, 0.16)

                                ColumnLayout {
                                    id: details
                                    anchors.left: parent.left
                                    anchors.right: parent.right
                                    anchors.top: parent.top
                                    anchors.margins: 14
                                    spacing: 8
                                    Body {
                                        objectName: "whyTitle"
                                        text: "Why?"
                                        font.weight: Font.Bold
                                        color: Theme.text
                                    }
                                    Body {
                                        objectName: "sliceExplanation"
                                        Layout.fillWidth: true
                                        text: sliceRow.modelData.explanation
                                        wrapMode: Text.WordWrap
                                        lineHeight: 1.15
                                    }
                                    RowLayout {
                                        Layout.fillWidth: true
                                        Layout.topMargin: 2
                                        spacing: 12
                                        visible: sliceRow.modelData.action !== "info" || sliceRow.result !== null
                                        AppButton {
                                            id: actionButton
                                            objectName: "actionButton"
                                            Layout.alignment: Qt.AlignTop
                                            visible: sliceRow.modelData.action !== "info"
                                            kind: sliceRow.modelData.action === "reveal" ? "secondary" : "primary"
                                            iconName: view.actionIcon(sliceRow.modelData.action)
                                            text: view.actionLabel(sliceRow.modelData.action)
                                            busy: sliceRow.working
                                            enabled: !sliceRow.working
                                            onClicked: view.xray.performWithId(sliceRow.modelData.id)
                                        }
                                        RowLayout {
                                            id: resultRow
                                            objectName: "sliceResult"
                                            Layout.fillWidth: true
                                            Layout.alignment: Qt.AlignVCenter
                                            visible: sliceRow.result !== null
                                            spacing: 6
                                            Icon {
                                                objectName: "resultIcon"
                                                Layout.alignment: Qt.AlignTop
                                                name: sliceRow.result && sliceRow.result.success
                                                      ? "checkmark.circle.fill" : "exclamationmark.triangle.fill"
                                                size: 16
                                                color: sliceRow.result && sliceRow.result.success ? Theme.green : Theme.orange
                                            }
                                            Caption {
                                                objectName: "resultText"
                                                Layout.fillWidth: true
                                                text: sliceRow.result ? sliceRow.result.message : ""
                                                wrapMode: Text.WordWrap
                                                font.weight: Font.Medium
                                                color: Theme.secondaryText
                                            }
                                        }
                                    }
                                }
                            }
                        }
                    }
                }
            }

            Item { implicitHeight: Theme.pageMargin - Theme.gap }
        }
    }
}
