import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The settings form: every control writes its setting the moment it
// changes, so there is nothing to save.
Item {
    id: view
    property var settings: Services.settings
    property var autopilot: Services.autopilot
    property var drives: Services.drives
    property var destinations: Services.destinations
    property int grantsRevision: 0 // re-reads the granted folders when a grant changes
    property int clock: 0 // ticks now and then, so that "Last run … ago" stays true

    readonly property var driveList: drives.drives
    readonly property var frequencies: [
        { value: "daily", label: "Daily" },
        { value: "weekly", label: "Weekly" },
        { value: "biweekly", label: "Every two weeks" },
        { value: "monthly", label: "Monthly" }
    ]

    function hasDate(when) { return when !== null && when !== undefined && !isNaN(when.getTime()) }
    function grantedFolder(mountPoint) {
        view.grantsRevision // a dependency, so the rows follow grants given or forgotten
        return destinations.grantedFolder(mountPoint)
    }

    Connections {
        target: view.destinations
        function onBookmarksChanged() { view.grantsRevision++ }
    }
    Timer {
        interval: 30000
        repeat: true
        running: view.visible
        onTriggered: view.clock++
    }

    component Note: Caption {
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
        lineHeight: 1.15
    }
    // A label on the left and its value on the right.
    component InfoRow: RowLayout {
        property string label
        default property alias value: valueSlot.data
        Layout.fillWidth: true
        spacing: 12
        Text {
            Layout.fillWidth: true
            text: parent.label
            font.family: Theme.fontFamily
            font.pixelSize: Theme.bodySize + 1
            color: Theme.text
        }
        Item {
            id: valueSlot
            implicitWidth: children.length > 0 ? children[0].implicitWidth : 0
            implicitHeight: children.length > 0 ? children[0].implicitHeight : 0
        }
    }
    // A link in the accent colour that opens its target.
    component Link: Text {
        property string url
        font.family: Theme.fontFamily
        font.pixelSize: Theme.bodySize + 1
        font.weight: Font.Medium
        font.underline: linkHover.hovered
        color: Theme.indigo
        HoverHandler { id: linkHover; cursorShape: Qt.PointingHandCursor }
        TapHandler { onTapped: Qt.openUrlExternally(parent.url) }
    }

    ScrollView {
        id: scroller
        objectName: "settingsScroll"
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            id: column
            // One readable column, left-aligned like the other screens' panels.
            readonly property real cardWidth: Math.min(760, scroller.availableWidth - 2 * Theme.pageMargin)
            width: scroller.availableWidth
            spacing: Theme.gap

            PageHeader {
                objectName: "settingsHeader"
                Layout.preferredWidth: column.cardWidth
                Layout.topMargin: Theme.pageMargin
                Layout.leftMargin: Theme.pageMargin
                Layout.bottomMargin: 4
                title: "Settings"
                subtitle: "Tune Tessoly's behavior. All changes save instantly."
            }

            SettingsCard {
                objectName: "autopilotCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "Storage Autopilot"
                iconName: "autostartstop"
                iconColor: Theme.indigo

                SettingsToggle {
                    objectName: "autopilotToggle"
                    label: "Keep my disk above a free-space guardrail"
                    checked: view.settings.autopilotEnabled
                    onToggled: on => view.settings.autopilotEnabled = on
                }
                ColumnLayout {
                    objectName: "guardrailSection"
                    Layout.fillWidth: true
                    visible: view.settings.autopilotEnabled
                    spacing: 8
                    SettingsMenuRow {
                        objectName: "guardrailRow"
                        label: "Guardrail"
                        options: [10, 15, 20, 30, 50].map(n => ({ label: n + " GB free", value: n }))
                        value: view.settings.autopilotMinFreeGB
                        onChosen: value => view.settings.autopilotMinFreeGB = value
                        AppButton {
                            objectName: "runNowButton"
                            text: "Run Now"
                            iconName: "autostartstop"
                            busy: view.autopilot.isRunning
                            enabled: !view.autopilot.isRunning
                            onClicked: if (!view.autopilot.isRunning) view.autopilot.runNow()
                        }
                    }
                    Caption {
                        objectName: "autopilotStatus"
                        Layout.fillWidth: true
                        text: {
                            // The line also reads the guardrail settings: follow them too.
                            view.settings.autopilotEnabled
                            view.settings.autopilotMinFreeGB
                            return view.autopilot.statusLine
                        }
                        wrapMode: Text.WordWrap
                        font.weight: Font.Medium
                        color: Theme.secondaryText
                    }
                }
                Caption {
                    objectName: "autopilotLastRun"
                    Layout.fillWidth: true
                    visible: view.hasDate(view.autopilot.lastRunAt)
                    text: {
                        view.clock
                        if (!view.hasDate(view.autopilot.lastRunAt))
                            return ""
                        return "Last run " + Format.timeSince(view.autopilot.lastRunAt) + " — reclaimed "
                                + Format.bytes(view.autopilot.lastFreedBytes)
                    }
                    wrapMode: Text.WordWrap
                    color: Theme.secondaryText
                }
                Hairline {}
                Note {
                    objectName: "autopilotNote"
                    text: "When free space drops below the guardrail, Tessoly automatically clears Safe-rated caches and thins Time Machine snapshots, then notifies you. Autopilot deletes directly instead of using the Trash — that's the only way the space is actually freed. Caution and Advanced items are never touched, and every run is recorded in History."
                }
            }

            SettingsCard {
                objectName: "generalCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "General"
                iconName: "gearshape.fill"
                iconColor: Theme.slate

                SettingsMenuRow {
                    objectName: "interfaceRow"
                    label: "Interface"
                    options: [{ label: "Easy — one-click cleaning", value: "simple" },
                              { label: "Full — every tool", value: "advanced" }]
                    value: view.settings.interfaceMode
                    onChosen: value => view.settings.interfaceMode = value
                }
                Hairline {}
                SettingsToggle {
                    objectName: "deleteImmediatelyToggle"
                    label: "Delete immediately instead of moving to Trash"
                    hint: "Frees disk space right away, but cleaned items can't be restored from the Trash."
                    checked: view.settings.deleteImmediately
                    onToggled: on => view.settings.deleteImmediately = on
                }
                SettingsToggle {
                    objectName: "animationsToggle"
                    label: "Animations"
                    checked: view.settings.animationsEnabled
                    onToggled: on => view.settings.animationsEnabled = on
                }
                SettingsToggle {
                    objectName: "menubarIconToggle"
                    label: "Show menubar icon"
                    checked: view.settings.showMenubarIcon
                    onToggled: on => view.settings.showMenubarIcon = on
                }
            }

            SettingsCard {
                objectName: "notificationsCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "Notifications"
                iconName: "bell.fill"
                iconColor: Theme.orange

                SettingsToggle {
                    objectName: "notificationsToggle"
                    label: "Enable notifications"
                    checked: view.settings.notificationsEnabled
                    onToggled: on => view.settings.notificationsEnabled = on
                }
                SettingsToggle {
                    objectName: "scanCompleteToggle"
                    label: "Notify when a scan completes"
                    checked: view.settings.notifyOnScanComplete
                    onToggled: on => view.settings.notifyOnScanComplete = on
                }
                SettingsMenuRow {
                    objectName: "lowDiskRow"
                    label: "Warn when disk reaches"
                    options: [75, 80, 85, 90, 95].map(n => ({ label: n + "%", value: n }))
                    value: view.settings.lowDiskThresholdPercent
                    onChosen: value => view.settings.lowDiskThresholdPercent = value
                }
            }

            SettingsCard {
                objectName: "drivesCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "External drives"
                iconName: "externaldrive.fill"
                iconColor: Theme.blue

                SettingsToggle {
                    objectName: "slowDriveToggle"
                    label: "Warn before moving to slow drives (USB 2.0)"
                    checked: view.settings.warnOnSlowExternalDrive
                    onToggled: on => view.settings.warnOnSlowExternalDrive = on
                }
                SettingsMenuRow {
                    objectName: "defaultDestinationRow"
                    label: "Default destination"
                    options: [{ label: "Ask each time", value: "" }].concat(
                                 view.driveList.map(drive => ({ label: drive.name, value: drive.name })))
                    value: view.settings.defaultExternalDriveName
                    onChosen: value => view.settings.defaultExternalDriveName = value
                }
                SettingsMenuRow {
                    objectName: "externalMinFreeRow"
                    label: "Keep at least free on external drive"
                    options: [5, 10, 20, 50, 100].map(n => ({ label: n + " GB", value: n }))
                    value: view.settings.externalDriveMinFreeGB
                    onChosen: value => view.settings.externalDriveMinFreeGB = value
                }
            }

            SettingsCard {
                objectName: "destinationsCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "Where Tessoly puts moved files"
                iconName: "folder.badge.gear"
                iconColor: Theme.teal

                Note {
                    objectName: "destinationsNote"
                    text: "Tessoly asks you to pick a folder on each external drive the first time you move something to it — that one-time pick gives Tessoly permission to write there. Manage those choices below."
                }
                Body {
                    objectName: "noDrivesText"
                    Layout.fillWidth: true
                    visible: view.driveList.length === 0
                    text: "No external drives are connected right now."
                    wrapMode: Text.WordWrap
                    font.italic: true
                }
                Repeater {
                    objectName: "destinationRows"
                    model: view.driveList
                    delegate: RowLayout {
                        id: driveRow
                        required property var modelData
                        required property int index
                        readonly property string folder: view.grantedFolder(modelData.mountPoint)
                        objectName: "destinationRow_" + index
                        Layout.fillWidth: true
                        spacing: 12

                        Rectangle {
                            Layout.alignment: Qt.AlignTop
                            implicitWidth: 32; implicitHeight: 32; radius: 9
                            color: Theme.track
                            Icon { anchors.centerIn: parent; name: "externaldrive.fill"; size: 18; color: Theme.secondaryText }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 2
                            RowTitle {
                                objectName: "driveName"
                                Layout.fillWidth: true
                                text: driveRow.modelData.name
                                elide: Text.ElideRight
                            }
                            Caption {
                                objectName: "driveFolder"
                                Layout.fillWidth: true
                                text: driveRow.folder !== "" ? driveRow.folder
                                                            : "Not configured — Tessoly will ask when you first move something here"
                                elide: driveRow.folder !== "" ? Text.ElideMiddle : Text.ElideNone
                                wrapMode: driveRow.folder !== "" ? Text.NoWrap : Text.WordWrap
                                color: driveRow.folder !== "" ? Theme.secondaryText : Theme.tertiaryText
                            }
                        }
                        AppButton {
                            objectName: "clearGrant"
                            Layout.alignment: Qt.AlignVCenter
                            visible: driveRow.folder !== ""
                            text: "Clear"
                            onClicked: view.destinations.forget(driveRow.modelData.mountPoint)
                        }
                    }
                }
            }

            SettingsCard {
                objectName: "autoCleanupCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                title: "Auto-cleanup schedule"
                iconName: "clock.arrow.2.circlepath"
                iconColor: Theme.purple

                SettingsToggle {
                    objectName: "autoCleanupToggle"
                    label: "Run a profile cleanup automatically"
                    checked: view.settings.autoCleanupEnabled
                    onToggled: on => view.settings.autoCleanupEnabled = on
                }
                ColumnLayout {
                    objectName: "autoCleanupSection"
                    Layout.fillWidth: true
                    visible: view.settings.autoCleanupEnabled
                    spacing: 14
                    SettingsMenuRow {
                        objectName: "profileRow"
                        label: "Profile"
                        options: Catalogue.profiles().map(profile => ({ label: profile.displayName, value: profile.id }))
                        value: view.settings.autoCleanupProfile
                        onChosen: value => view.settings.autoCleanupProfile = value
                    }
                    SettingsMenuRow {
                        objectName: "frequencyRow"
                        label: "Frequency"
                        options: view.frequencies
                        value: view.settings.autoCleanupFrequency
                        onChosen: value => view.settings.autoCleanupFrequency = value
                    }
                }
                Hairline {}
                Note {
                    objectName: "autoCleanupNote"
                    text: "Tessoly will run the chosen profile cleanup automatically. Files go to the Trash unless \"Delete immediately\" is turned on in General."
                }
            }

            SettingsCard {
                objectName: "aboutCard"
                Layout.preferredWidth: column.cardWidth
                Layout.leftMargin: Theme.pageMargin
                Layout.bottomMargin: Theme.pageMargin
                title: "About"
                iconName: "info.circle.fill"
                iconColor: Theme.accentTint

                InfoRow {
                    label: "Version"
                    Text {
                        objectName: "versionText"
                        text: Services.version
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.bodySize + 1
                        color: Theme.secondaryText
                    }
                }
                InfoRow {
                    label: "Built by"
                    Link {
                        objectName: "makerLink"
                        text: Services.makerName
                        url: Services.makerLink
                    }
                }
                InfoRow {
                    label: "Support"
                    Link {
                        objectName: "supportLink"
                        text: Services.supportMail
                        url: "mailto:" + Services.supportMail
                    }
                }
            }
        }
    }
}
