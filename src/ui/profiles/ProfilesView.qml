import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Cleanup by persona: pick a profile, see what its folders hold, tick, clean.
Item {
    id: view
    property var cleanup: Services.profiles
    property string selectedProfile: ""
    property var selectedTargetIds: []
    property bool working: false
    property real lastFreed: 0
    property bool awaitingMeasure: false

    readonly property var profile: Catalogue.profiles().find(p => p.id === selectedProfile)
    readonly property var targets: selectedProfile === "" ? [] : Catalogue.targets(selectedProfile)
    readonly property real selectedBytes: {
        cleanup.statesRevision // re-read when a measurement lands
        let sum = 0
        for (const target of targets) {
            if (selectedTargetIds.indexOf(target.id) >= 0)
                sum += cleanup.stateOf(target.id).bytes
        }
        return sum
    }

    function choose(id) {
        selectedProfile = id
        selectedTargetIds = []
        lastFreed = 0
        awaitingMeasure = true
        cleanup.measureTargets(Catalogue.targets(id).map(t => t.id))
    }

    function toggle(id) {
        const ids = selectedTargetIds.slice()
        const at = ids.indexOf(id)
        if (at >= 0)
            ids.splice(at, 1)
        else
            ids.push(id)
        selectedTargetIds = ids
    }

    function startClean() {
        working = true
        const ids = targets.filter(t => selectedTargetIds.indexOf(t.id) >= 0).map(t => t.id)
        const name = profile ? profile.displayName : "Custom"
        cleanup.cleanTargets(ids, name, Services.settings.deleteImmediately)
    }

    Connections {
        target: view.cleanup
        function onMeasureFinished() {
            if (!view.awaitingMeasure)
                return
            view.awaitingMeasure = false
            // Every row starts ticked; the person unticks what is to stay.
            view.selectedTargetIds = view.targets.map(t => t.id)
        }
        function onCleanFinished(bytes) {
            if (!view.working)
                return
            view.lastFreed = bytes
            view.working = false
            Services.scanner.refreshVolumeInfo()
        }
    }

    // The grid of personas.
    ColumnLayout {
        objectName: "profileGrid"
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.gap
        visible: view.selectedProfile === ""

        PageHeader {
            Layout.fillWidth: true
            title: "Profiles"
        }
        Body {
            Layout.fillWidth: true
            Layout.topMargin: -10
            text: "Pick the persona that matches your Mac. Tessoly tunes the cleanup list for what *you* actually use."
            textFormat: Text.MarkdownText
            wrapMode: Text.WordWrap
            color: Theme.tertiaryText
        }
        GridLayout {
            Layout.fillWidth: true
            columns: view.width > 1100 ? 3 : 2
            columnSpacing: Theme.gap
            rowSpacing: Theme.gap
            Repeater {
                model: Catalogue.profiles()
                delegate: Card {
                    id: profileCard
                    required property var modelData
                    objectName: "profile_" + modelData.id
                    Layout.fillWidth: true
                    Layout.preferredHeight: 132
                    padding: 18
                    scale: cardHover.hovered ? 1.01 : 1
                    Behavior on scale { NumberAnimation { duration: Theme.fastMs } }
                    HoverHandler { id: cardHover; cursorShape: Qt.PointingHandCursor }
                    TapHandler { onTapped: view.choose(profileCard.modelData.id) }
                    ColumnLayout {
                        width: parent.width
                        spacing: 8
                        Rectangle {
                            implicitWidth: 40; implicitHeight: 40; radius: 12
                            color: Qt.rgba(Theme.tint(profileCard.modelData.tint).r, Theme.tint(profileCard.modelData.tint).g,
                                           Theme.tint(profileCard.modelData.tint).b, 0.14)
                            Icon { anchors.centerIn: parent; name: profileCard.modelData.icon; size: 22; color: Theme.tint(profileCard.modelData.tint) }
                        }
                        Text {
                            text: profileCard.modelData.displayName
                            font.family: Theme.fontFamily
                            font.pixelSize: 15
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                        Caption {
                            Layout.fillWidth: true
                            text: profileCard.modelData.tagline
                            wrapMode: Text.WordWrap
                            maximumLineCount: 2
                            elide: Text.ElideRight
                        }
                    }
                }
            }
        }
        Item { Layout.fillHeight: true }
    }

    // One profile's folders.
    ColumnLayout {
        objectName: "profileDetail"
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        anchors.topMargin: 20
        spacing: Theme.gap
        visible: view.selectedProfile !== ""

        AppButton {
            objectName: "backToProfiles"
            text: "Profiles"
            iconName: "chevron.left"
            onClicked: view.selectedProfile = ""
        }
        PageHeader {
            objectName: "profileTitle"
            Layout.fillWidth: true
            title: view.profile ? view.profile.displayName + " cleanups" : ""
            subtitle: view.profile ? view.profile.tagline : ""
        }
        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: 8
            ListView {
                id: rows
                objectName: "targetList"
                anchors.fill: parent
                clip: true
                spacing: 2
                model: view.targets
                ScrollBar.vertical: ScrollBar {}
                delegate: ProfileTargetRow {
                    width: ListView.view.width
                    cleanup: view.cleanup
                    ticked: view.selectedTargetIds.indexOf(modelData.id) >= 0
                    onToggled: view.toggle(modelData.id)
                }
            }
        }
        Card { // the footer
            Layout.fillWidth: true
            padding: 16
            ColumnLayout {
            width: parent.width
            spacing: 10
            RowLayout {
                Layout.fillWidth: true
                spacing: 12
                Body {
                    text: "Reclaimable now:"
                }
                Text {
                    objectName: "reclaimableSum"
                    text: Format.bytes(view.selectedBytes)
                    font.family: Theme.fontFamily
                    font.pixelSize: 20
                    font.weight: Font.Bold
                    color: Theme.text
                }
                Item { Layout.fillWidth: true }
                Row {
                    objectName: "reclaimedNote"
                    spacing: 6
                    visible: view.lastFreed > 0 && !view.working
                    Icon { name: "checkmark.circle.fill"; size: 18; color: Theme.green; anchors.verticalCenter: parent.verticalCenter }
                    Body {
                        text: "Reclaimed " + Format.bytes(view.lastFreed)
                        anchors.verticalCenter: parent.verticalCenter
                        font.weight: Font.DemiBold
                        color: Theme.green
                    }
                }
                BusyIndicator {
                    visible: view.working
                    running: view.working
                    implicitWidth: 26
                    implicitHeight: 26
                }
                AppButton {
                    objectName: "cleanButton"
                    kind: "primary"
                    iconName: view.working ? "" : "trash"
                    text: view.working ? "Cleaning…" : "Clean " + Format.bytes(view.selectedBytes)
                    enabled: !view.working && !view.cleanup.isMeasuring && view.selectedBytes > 0
                    onClicked: view.startClean()
                }
            }
            // What stayed in place, or a log that couldn't record the clean.
            RowLayout {
                objectName: "cleanNotice"
                Layout.fillWidth: true
                spacing: 8
                visible: view.cleanup.lastCleanNotice !== "" && !view.working
                Icon { name: "exclamationmark.triangle.fill"; size: 16; color: Theme.orange; Layout.alignment: Qt.AlignTop }
                Caption {
                    Layout.fillWidth: true
                    text: view.cleanup.lastCleanNotice
                    wrapMode: Text.Wrap
                    color: Theme.secondaryText
                }
            }
            }
        }
    }
}
