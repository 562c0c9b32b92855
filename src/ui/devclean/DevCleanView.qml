import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Dev Clean: node_modules folders in the user's projects, what Docker could
// give back, and iOS simulator runtimes, each card with its own actions and
// the outcome of the last one per item. Nothing shows before the first scan
// but the header and an invitation to scan.
Item {
    id: view
    property var devClean: Services.devClean
    readonly property bool scanning: devClean.isScanning
    readonly property bool scanned: devClean.hasScanned
    readonly property var workingIds: devClean.workingIds
    readonly property var results: devClean.results
    readonly property var docker: devClean.docker
    readonly property var nodeModules: devClean.nodeModules
    readonly property var runtimes: devClean.runtimes
    readonly property real runtimesTotalBytes: runtimes.reduce((sum, r) => sum + r.bytes, 0)

    // Outcomes of items that have left their list (deleted folders and
    // runtimes), so that their message stays readable in their card.
    // Folder ids are absolute paths; the fixed ids belong to their own blocks.
    readonly property var formerFolderResults: Object.keys(results).filter(
        id => id.startsWith("/") && !nodeModules.some(f => f.id === id)).sort()
    readonly property var formerRuntimeResults: Object.keys(results).filter(
        id => id !== "docker" && id !== "sim.unavailable" && !id.startsWith("/")
              && !runtimes.some(r => r.id === id)).sort()

    function isWorking(id) { return workingIds.indexOf(id) >= 0 }
    function resultOf(id) { return results[id] === undefined ? null : results[id] }
    // A date from the service, or null / an invalid date when it has none.
    function hasDate(when) { return when !== null && when !== undefined && !isNaN(when.getTime()) }

    // A card's symbol on a pale tile, its title and description, and an
    // optional figure on the right.
    component CardHeading: RowLayout {
        id: heading
        property string key
        property string iconName
        property color tint: Theme.indigo
        property string title
        property string description
        property string figure: ""
        property string figureCaption: ""
        Layout.fillWidth: true
        spacing: 12
        Rectangle {
            Layout.alignment: Qt.AlignTop
            implicitWidth: 40; implicitHeight: 40; radius: 12
            color: Theme.pale(heading.tint)
            Icon { anchors.centerIn: parent; name: heading.iconName; size: 22; color: heading.tint }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Heading {
                objectName: heading.key + "Title"
                Layout.fillWidth: true
                text: heading.title
                wrapMode: Text.WordWrap
            }
            Body {
                objectName: heading.key + "Description"
                Layout.fillWidth: true
                text: heading.description
                wrapMode: Text.WordWrap
                color: Theme.tertiaryText
            }
        }
        ColumnLayout {
            Layout.alignment: Qt.AlignTop
            spacing: 0
            Text {
                objectName: heading.key + "Total"
                Layout.alignment: Qt.AlignRight
                text: heading.figure
                font.family: Theme.fontFamily
                font.pixelSize: 20
                font.weight: Font.Bold
                color: Theme.text
            }
            Caption {
                objectName: heading.key + "TotalCaption"
                Layout.alignment: Qt.AlignRight
                text: heading.figure !== "" ? heading.figureCaption : ""
            }
        }
    }

    // The last outcome of an item: its message with a checkmark, or a warning sign.
    component ResultLine: RowLayout {
        id: line
        property var result: null
        property string label: "" // what the outcome is of, where its row has gone
        readonly property string message: result ? result.message : ""
        readonly property bool success: result ? result.success : false
        Layout.fillWidth: true
        visible: result !== null
        spacing: 6
        Icon {
            objectName: "resultIcon"
            Layout.alignment: Qt.AlignTop
            name: line.success ? "checkmark.circle.fill" : "exclamationmark.triangle.fill"
            size: 16
            color: line.success ? Theme.green : Theme.orange
        }
        Caption {
            objectName: "resultLabel"
            Layout.alignment: Qt.AlignTop
            visible: line.label !== ""
            text: line.label
            font.weight: Font.DemiBold
            color: Theme.text
        }
        Caption {
            objectName: "resultText"
            Layout.fillWidth: true
            text: line.message
            wrapMode: Text.Wrap
            font.weight: Font.Medium
            color: Theme.secondaryText
        }
    }

    // A message in a card that has nothing to list, or a tool's status.
    component Notice: RowLayout {
        id: notice
        property string iconName: "info.circle"
        property color tint: Theme.tertiaryText
        property string text
        property string textName
        Layout.fillWidth: true
        spacing: 8
        Icon { Layout.alignment: Qt.AlignTop; name: notice.iconName; size: 18; color: notice.tint }
        Body {
            objectName: notice.textName
            Layout.fillWidth: true
            text: notice.text
            wrapMode: Text.WordWrap
        }
    }

    ScrollView {
        id: scroller
        objectName: "devCleanScroll"
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: scroller.availableWidth
            spacing: Theme.gap

            Component.onCompleted: headerRise.enter()

            PageHeader {
                Layout.fillWidth: true
                Layout.topMargin: Theme.pageMargin
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                title: "Dev Clean"
            }

            // The header: what this screen finds, and the scan.
            Card {
                id: headerCard
                objectName: "devCleanHeader"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                padding: 24
                transform: headerRise.shift
                RiseIn { id: headerRise; target: headerCard; order: 0 }

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
                        Icon {
                            objectName: "headerIcon"
                            anchors.centerIn: parent
                            name: "wrench.and.screwdriver"
                            size: 24
                            color: Theme.onAccent
                        }
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 6
                        Title {
                            objectName: "headerHeadline"
                            Layout.fillWidth: true
                            text: "Find the gigabytes your tools left behind"
                            wrapMode: Text.WordWrap
                        }
                        Body {
                            objectName: "headerBody"
                            Layout.fillWidth: true
                            text: "node_modules folders in projects you've moved on from, Docker images and build cache nothing references, and iOS simulator runtimes for versions you no longer test. All of it rebuilds on demand — none of it needs to sit on your disk."
                            wrapMode: Text.WordWrap
                            lineHeight: 1.1
                        }
                        Caption {
                            objectName: "headerNote"
                            Layout.fillWidth: true
                            text: "The three biggest regenerable space sinks on a dev machine — dependencies reinstall, images re-pull, runtimes re-download."
                            wrapMode: Text.WordWrap
                        }
                    }
                    AppButton {
                        objectName: "scanButton"
                        Layout.alignment: Qt.AlignTop
                        kind: "primary"
                        iconName: view.scanned ? "arrow.clockwise" : "magnifyingglass"
                        busy: view.scanning
                        text: view.scanning ? "Scanning…" : view.scanned ? "Re-scan" : "Scan"
                        enabled: !view.scanning
                        onClicked: view.devClean.startScan()
                    }
                }
            }

            // Before the first scan: an invitation, or the first scan's progress.
            Item {
                objectName: "devCleanEmpty"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                implicitHeight: firstScan.implicitHeight + 80
                visible: !view.scanned
                EmptyState {
                    id: firstScan
                    objectName: "firstScanState"
                    anchors.centerIn: parent
                    width: Math.min(parent.width, 440)
                    iconName: view.scanning ? "hourglass" : "magnifyingglass.circle"
                    title: view.scanning ? "Scanning…" : "Nothing scanned yet"
                    message: view.scanning
                        ? "Looking through your project folders and asking Docker and the simulator tool what they hold."
                        : "Scan to see which node_modules folders, Docker data and simulator runtimes could go. Nothing is deleted until you click."
                }
            }

            // node_modules folders of meaningful size, biggest first.
            Card {
                objectName: "nodeModulesCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: view.scanned
                padding: 24

                ColumnLayout {
                    width: parent.width
                    spacing: 14

                    CardHeading {
                        key: "nodeModules"
                        iconName: "shippingbox.fill"
                        tint: Theme.green
                        title: "node_modules"
                        description: "Deleting is safe — package.json stays, npm install rebuilds."
                        figure: view.nodeModules.length > 0 ? Format.bytes(view.devClean.nodeModulesTotalBytes) : ""
                        figureCaption: view.nodeModules.length === 1 ? "in 1 folder" : "in " + view.nodeModules.length + " folders"
                    }

                    Notice {
                        visible: view.nodeModules.length === 0
                        iconName: "checkmark.circle.fill"
                        tint: Theme.green
                        textName: "nodeModulesEmpty"
                        text: "No node_modules folders of meaningful size found in your project folders."
                    }

                    Notice {
                        visible: view.devClean.refusedFolders.length > 0
                        iconName: "exclamationmark.triangle.fill"
                        tint: Theme.orange
                        textName: "refusedFolders"
                        text: view.devClean.refusedFolders.join(" ")
                    }

                    Repeater {
                        objectName: "formerFolderResults"
                        model: view.formerFolderResults
                        delegate: ResultLine {
                            required property string modelData
                            required property int index
                            objectName: "formerFolderResult_" + index
                            result: view.resultOf(modelData)
                            label: modelData.split("/").slice(-2, -1)[0] || ""
                        }
                    }

                    Repeater {
                        model: view.nodeModules
                        delegate: ColumnLayout {
                            id: folderRow
                            required property var modelData
                            required property int index
                            readonly property bool working: view.isWorking(modelData.id)
                            objectName: "nodeModulesRow_" + index
                            Layout.fillWidth: true
                            spacing: 8

                            Hairline {}
                            RowLayout {
                                Layout.fillWidth: true
                                spacing: 12
                                Rectangle {
                                    implicitWidth: 34; implicitHeight: 34; radius: 10
                                    color: Theme.selection
                                    Icon { anchors.centerIn: parent; name: "folder"; size: 18; color: Theme.indigo }
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    RowTitle {
                                        objectName: "projectName"
                                        Layout.fillWidth: true
                                        text: folderRow.modelData.projectName
                                        elide: Text.ElideRight
                                    }
                                    Caption {
                                        objectName: "folderPath"
                                        Layout.fillWidth: true
                                        text: folderRow.modelData.displayPath
                                        elide: Text.ElideMiddle
                                        color: Theme.mutedText
                                    }
                                    Caption {
                                        objectName: "projectActivity"
                                        Layout.fillWidth: true
                                        text: view.hasDate(folderRow.modelData.projectLastUsed)
                                            ? "project last touched " + Format.relativeTime(folderRow.modelData.projectLastUsed)
                                            : "no project activity found"
                                        elide: Text.ElideRight
                                    }
                                }
                                RowTitle {
                                    objectName: "folderSize"
                                    text: Format.bytes(folderRow.modelData.bytes)
                                }
                                AppButton {
                                    objectName: "deleteFolder"
                                    kind: "destructive"
                                    iconName: "trash"
                                    busy: folderRow.working
                                    enabled: !folderRow.working
                                    text: Services.settings.deleteImmediately ? "Delete" : "Move to Trash"
                                    onClicked: view.devClean.deleteNodeModulesWithId(folderRow.modelData.id)
                                }
                            }
                            ResultLine {
                                objectName: "folderResult"
                                Layout.leftMargin: 46
                                result: view.resultOf(folderRow.modelData.id)
                            }
                        }
                    }
                }
            }

            // Docker: its status, or what a prune would give back.
            Card {
                objectName: "dockerCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: view.scanned
                padding: 24

                ColumnLayout {
                    width: parent.width
                    spacing: 14

                    CardHeading {
                        key: "docker"
                        iconName: "cube.transparent.fill"
                        tint: Theme.blue
                        title: "Docker"
                        description: "Unused images, stopped containers, build cache. Volumes are never touched."
                    }

                    Notice {
                        objectName: "dockerStatus"
                        visible: view.docker.state !== "ready"
                        textName: "dockerStatusText"
                        iconName: view.docker.state === "notRunning" ? "power"
                                : view.docker.state === "notResponding" ? "hourglass" : "info.circle"
                        tint: view.docker.state === "notResponding" ? Theme.orange : Theme.tertiaryText
                        text: view.docker.state === "notInstalled" ? "Docker isn't installed on this Mac."
                            : view.docker.state === "notRunning" ? "Docker isn't running. Start Docker Desktop, then re-scan to see how much is reclaimable."
                            : view.docker.state === "notResponding" ? "Docker didn't answer within 20 seconds — it may be starting or stuck. Re-scan to try again."
                            : ""
                    }

                    // Ready: the reclaimable amount and the prune.
                    Rectangle {
                        objectName: "dockerReady"
                        Layout.fillWidth: true
                        visible: view.docker.state === "ready"
                        implicitHeight: readyRow.implicitHeight + 28
                        radius: Theme.smallRadius
                        color: Theme.pale(Theme.blue, 0.07)
                        border.width: 1
                        border.color: Theme.pale(Theme.blue, 0.18)

                        RowLayout {
                            id: readyRow
                            anchors.left: parent.left
                            anchors.right: parent.right
                            anchors.verticalCenter: parent.verticalCenter
                            anchors.leftMargin: 16
                            anchors.rightMargin: 16
                            spacing: 16
                            ColumnLayout {
                                spacing: 0
                                Text {
                                    objectName: "dockerReclaimable"
                                    text: Format.bytes(view.docker.reclaimableBytes || 0)
                                    font.family: Theme.fontFamily
                                    font.pixelSize: 22
                                    font.weight: Font.Bold
                                    color: Theme.text
                                }
                                Caption {
                                    objectName: "dockerReclaimableCaption"
                                    text: "reclaimable"
                                }
                            }
                            Caption {
                                objectName: "pruneNote"
                                Layout.fillWidth: true
                                text: "docker system prune -a — removes unused images, stopped containers and build cache."
                                wrapMode: Text.WordWrap
                                color: Theme.secondaryText
                            }
                            AppButton {
                                objectName: "pruneButton"
                                kind: "primary"
                                iconName: "trash"
                                busy: view.isWorking("docker")
                                enabled: !view.isWorking("docker")
                                text: view.isWorking("docker") ? "Pruning…" : "Prune"
                                onClicked: view.devClean.startPruneDocker()
                            }
                        }
                    }

                    ResultLine {
                        objectName: "dockerResult"
                        result: view.resultOf("docker")
                    }
                }
            }

            // Simulator runtimes, and devices whose runtime is gone.
            Card {
                objectName: "simulatorsCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.pageMargin
                Layout.rightMargin: Theme.pageMargin
                visible: view.scanned
                padding: 24

                ColumnLayout {
                    width: parent.width
                    spacing: 14

                    CardHeading {
                        key: "simulators"
                        iconName: "iphone"
                        tint: Theme.violet
                        title: "iOS simulator runtimes"
                        description: "Each runtime is a 5–8 GB disk image. Deleted ones re-download from Xcode when needed."
                        figure: view.runtimes.length > 0 ? Format.bytes(view.runtimesTotalBytes) : ""
                        figureCaption: view.runtimes.length === 1 ? "in 1 runtime" : "in " + view.runtimes.length + " runtimes"
                    }

                    Notice {
                        visible: view.runtimes.length === 0
                        textName: "runtimesEmpty"
                        text: "No simulator runtimes installed (or Xcode isn't set up on this Mac)."
                    }

                    Repeater {
                        model: view.formerRuntimeResults
                        delegate: ResultLine {
                            required property string modelData
                            required property int index
                            objectName: "formerRuntimeResult_" + index
                            result: view.resultOf(modelData)
                        }
                    }

                    Repeater {
                        model: view.runtimes
                        delegate: ColumnLayout {
                            id: runtimeRow
                            required property var modelData
                            required property int index
                            readonly property bool working: view.isWorking(modelData.id)
                            objectName: "runtimeRow_" + index
                            Layout.fillWidth: true
                            spacing: 8

                            Hairline {}
                            RowLayout {
                                Layout.fillWidth: true
                                spacing: 12
                                Rectangle {
                                    implicitWidth: 34; implicitHeight: 34; radius: 10
                                    color: Theme.pale(Theme.violet, 0.1)
                                    Icon { anchors.centerIn: parent; name: "iphone.gen3"; size: 18; color: Theme.violet }
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    RowTitle {
                                        objectName: "runtimeName"
                                        Layout.fillWidth: true
                                        text: runtimeRow.modelData.name
                                        elide: Text.ElideRight
                                    }
                                    Caption {
                                        objectName: "runtimeLastUsed"
                                        Layout.fillWidth: true
                                        text: view.hasDate(runtimeRow.modelData.lastUsedAt)
                                            ? "last used " + Format.relativeTime(runtimeRow.modelData.lastUsedAt)
                                            : "no record of use"
                                        elide: Text.ElideRight
                                    }
                                }
                                RowTitle {
                                    objectName: "runtimeSize"
                                    text: Format.bytes(runtimeRow.modelData.bytes)
                                }
                                Item { // the action's slot: as wide in every row (a hidden item measures
                                       // narrow, hence the floor), so that the sizes line up
                                    implicitWidth: Math.max(deleteRuntimeButton.implicitWidth, keptLabel.implicitWidth, 100)
                                    implicitHeight: Math.max(deleteRuntimeButton.implicitHeight, keptLabel.implicitHeight)
                                    AppButton {
                                        id: deleteRuntimeButton
                                        objectName: "deleteRuntime"
                                        anchors.right: parent.right
                                        anchors.verticalCenter: parent.verticalCenter
                                        visible: runtimeRow.modelData.deletable
                                        kind: "destructive"
                                        iconName: "trash"
                                        busy: runtimeRow.working
                                        enabled: !runtimeRow.working
                                        text: "Delete"
                                        onClicked: view.devClean.deleteRuntimeWithId(runtimeRow.modelData.id)
                                    }
                                    Row { // in place of the button when the tool keeps this one
                                        id: keptLabel
                                        objectName: "runtimeKept"
                                        anchors.right: parent.right
                                        anchors.verticalCenter: parent.verticalCenter
                                        visible: !runtimeRow.modelData.deletable
                                        spacing: 4
                                        Icon { name: "lock.fill"; size: 14; color: Theme.mutedText; anchors.verticalCenter: parent.verticalCenter }
                                        Caption {
                                            objectName: "runtimeKeptText"
                                            anchors.verticalCenter: parent.verticalCenter
                                            text: "Not deletable"
                                            color: Theme.mutedText
                                        }
                                    }
                                }
                            }
                            ResultLine {
                                objectName: "runtimeResult"
                                Layout.leftMargin: 46
                                result: view.resultOf(runtimeRow.modelData.id)
                            }
                        }
                    }

                    // Devices whose runtime was removed.
                    Rectangle {
                        objectName: "orphanedDevices"
                        Layout.fillWidth: true
                        visible: view.devClean.unavailableSimDevices > 0
                        implicitHeight: orphanRow.implicitHeight + 28
                        radius: Theme.smallRadius
                        color: Theme.pale(Theme.orange, 0.08)
                        border.width: 1
                        border.color: Theme.pale(Theme.orange, 0.25)

                        RowLayout {
                            id: orphanRow
                            anchors.left: parent.left
                            anchors.right: parent.right
                            anchors.verticalCenter: parent.verticalCenter
                            anchors.leftMargin: 16
                            anchors.rightMargin: 16
                            spacing: 12
                            Icon { Layout.alignment: Qt.AlignTop; name: "iphone.slash"; size: 20; color: Theme.orange }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: 2
                                RowTitle {
                                    objectName: "orphanedCount"
                                    Layout.fillWidth: true
                                    readonly property int count: view.devClean.unavailableSimDevices
                                    text: count + " orphaned simulator device" + (count === 1 ? "" : "s")
                                    wrapMode: Text.WordWrap
                                }
                                Caption {
                                    objectName: "orphanedDescription"
                                    Layout.fillWidth: true
                                    text: "Devices whose runtime was removed — their data folders serve nothing."
                                    wrapMode: Text.WordWrap
                                    color: Theme.secondaryText
                                }
                            }
                            AppButton {
                                objectName: "removeOrphaned"
                                iconName: "trash"
                                busy: view.isWorking("sim.unavailable")
                                enabled: !view.isWorking("sim.unavailable")
                                text: "Remove"
                                onClicked: view.devClean.startRemoveUnavailableDevices()
                            }
                        }
                    }

                    // Kept outside the block: after a removal the count is 0 and the block goes.
                    ResultLine {
                        objectName: "orphanedResult"
                        result: view.resultOf("sim.unavailable")
                    }
                }
            }

            Item { implicitHeight: Theme.pageMargin - Theme.gap }
        }
    }
}
