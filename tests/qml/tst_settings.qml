import QtQuick
import QtTest
import Tessoly
import TessolyTest

Item {
    id: root
    width: 1000
    height: 2300 // the whole form at once

    SettingsView { id: view; anchors.fill: parent }

    SignalSpy { id: folderRequests; target: Services.prompter; signalName: "folderRequested" }

    TestCase {
        name: "Settings"
        when: windowShown

        readonly property var settings: Services.settings

        function stored(key) { return Hooks.storedValue("TessolySettings." + key) }
        function row(name) { return findChild(view, name) }
        function menu(name) { return row(name).menu }
        function labels(name) { return menu(name).options.map(option => option.label) }

        // Opens a row's menu with the mouse and clicks the entry with that label.
        function choose(name, label) {
            const combo = menu(name)
            const index = combo.options.findIndex(option => option.label === label)
            verify(index >= 0, "no entry " + label + " in " + name)
            mouseClick(combo)
            tryCompare(combo.popup, "opened", true)
            const list = combo.popup.contentItem
            tryVerify(() => list.itemAtIndex(index) !== null && list.itemAtIndex(index).height > 0)
            mouseClick(list.itemAtIndex(index))
            tryCompare(combo.popup, "visible", false)
        }
        function flip(name) {
            mouseClick(row(name).control)
        }
        function setDrives(drives) {
            Hooks.setDrives(drives)
            const names = drives.map(d => d.name).sort().join(",")
            tryVerify(() => Services.drives.drives.map(d => d.name).sort().join(",") === names)
            wait(20) // let the rows lay out
        }

        function init() {
            settings.autopilotEnabled = false
            settings.autoCleanupEnabled = false
            settings.autopilotMinFreeGB = 20
            settings.defaultExternalDriveName = ""
            settings.lowDiskThresholdPercent = 90
            settings.externalDriveMinFreeGB = 10
            settings.interfaceMode = "simple"
            settings.autoCleanupProfile = "generalUser"
            settings.autoCleanupFrequency = "weekly"
            wait(20) // let the form lay out
        }

        function test_header_and_cards_in_order() {
            compare(findChild(view, "settingsHeader").title, "Settings")
            compare(findChild(view, "settingsHeader").subtitle, "Tune Tessoly's behavior. All changes save instantly.")
            const cards = [["autopilotCard", "Storage Autopilot", "autostartstop"],
                           ["generalCard", "General", "gearshape.fill"],
                           ["notificationsCard", "Notifications", "bell.fill"],
                           ["drivesCard", "External drives", "externaldrive.fill"],
                           ["destinationsCard", "Where Tessoly puts moved files", "folder.badge.gear"],
                           ["autoCleanupCard", "Auto-cleanup schedule", "clock.arrow.2.circlepath"],
                           ["aboutCard", "About", "info.circle.fill"]]
            let above = -1
            for (const [name, title, icon] of cards) {
                const card = findChild(view, name)
                compare(card.title, title)
                compare(card.iconName, icon)
                verify(Icons.glyphs[icon] !== undefined, icon)
                verify(card.y > above, name + " below the card before it")
                above = card.y
            }
        }

        function test_each_switch_writes_its_setting_at_once() {
            const switches = [["autopilotToggle", "autopilotEnabled", "Keep my disk above a free-space guardrail"],
                              ["deleteImmediatelyToggle", "deleteImmediately", "Delete immediately instead of moving to Trash"],
                              ["animationsToggle", "animationsEnabled", "Animations"],
                              ["menubarIconToggle", "showMenubarIcon", "Show menubar icon"],
                              ["notificationsToggle", "notificationsEnabled", "Enable notifications"],
                              ["scanCompleteToggle", "notifyOnScanComplete", "Notify when a scan completes"],
                              ["slowDriveToggle", "warnOnSlowExternalDrive", "Warn before moving to slow drives (USB 2.0)"],
                              ["autoCleanupToggle", "autoCleanupEnabled", "Run a profile cleanup automatically"]]
            for (const [name, property, label] of switches) {
                compare(findChild(row(name), "toggleLabel").text, label)
                const before = settings[property]
                compare(row(name).control.checked, before, name)
                flip(name)
                compare(settings[property], !before, property)
                compare(stored(property), !before, property + " stored")
                flip(name)
                compare(settings[property], before, property)
                compare(stored(property), before, property + " stored")
                compare(row(name).control.checked, before, name)
            }
            compare(findChild(row("deleteImmediatelyToggle"), "toggleHint").text,
                    "Frees disk space right away, but cleaned items can't be restored from the Trash.")
        }

        function test_switches_follow_changes_made_elsewhere() {
            settings.deleteImmediately = true
            verify(row("deleteImmediatelyToggle").control.checked)
            settings.deleteImmediately = false
            verify(!row("deleteImmediatelyToggle").control.checked)
        }

        function test_each_menu_writes_its_setting_at_once() {
            flip("autopilotToggle")
            compare(labels("guardrailRow"), ["10 GB free", "15 GB free", "20 GB free", "30 GB free", "50 GB free"])
            compare(menu("guardrailRow").displayText, "20 GB free")
            choose("guardrailRow", "50 GB free")
            compare(settings.autopilotMinFreeGB, 50)
            compare(stored("autopilotMinFreeGB"), 50)

            compare(labels("interfaceRow"), ["Easy — one-click cleaning", "Full — every tool"])
            choose("interfaceRow", "Full — every tool")
            compare(settings.interfaceMode, "advanced")
            compare(stored("interfaceMode"), "advanced")
            choose("interfaceRow", "Easy — one-click cleaning")
            compare(stored("interfaceMode"), "simple")

            compare(labels("lowDiskRow"), ["75%", "80%", "85%", "90%", "95%"])
            compare(menu("lowDiskRow").displayText, "90%")
            choose("lowDiskRow", "80%")
            compare(settings.lowDiskThresholdPercent, 80)
            compare(stored("lowDiskThresholdPercent"), 80)

            compare(labels("externalMinFreeRow"), ["5 GB", "10 GB", "20 GB", "50 GB", "100 GB"])
            choose("externalMinFreeRow", "100 GB")
            compare(settings.externalDriveMinFreeGB, 100)
            compare(stored("externalDriveMinFreeGB"), 100)

            flip("autoCleanupToggle")
            const profiles = Catalogue.profiles()
            compare(labels("profileRow"), profiles.map(p => p.displayName))
            compare(menu("profileRow").currentIndex, profiles.findIndex(p => p.id === "generalUser"))
            const lastProfile = profiles[profiles.length - 1]
            const otherProfile = profiles[0].id === settings.autoCleanupProfile ? profiles[1] : profiles[0]
            choose("profileRow", otherProfile.displayName)
            compare(settings.autoCleanupProfile, otherProfile.id)
            compare(stored("autoCleanupProfile"), otherProfile.id)

            compare(labels("frequencyRow"), ["Daily", "Weekly", "Every two weeks", "Monthly"])
            compare(menu("frequencyRow").displayText, "Weekly")
            choose("frequencyRow", "Every two weeks")
            compare(settings.autoCleanupFrequency, "biweekly")
            compare(stored("autoCleanupFrequency"), "biweekly")
            choose("frequencyRow", "Monthly")
            compare(stored("autoCleanupFrequency"), "monthly")

            // A change made elsewhere still shows after the person has chosen.
            settings.autopilotMinFreeGB = 15
            compare(menu("guardrailRow").displayText, "15 GB free")
        }

        function test_a_value_outside_a_menu_shows_no_selection_and_stays() {
            flip("autopilotToggle")
            settings.autopilotMinFreeGB = 25
            settings.lowDiskThresholdPercent = 87
            settings.defaultExternalDriveName = "Drive that is away"
            for (const name of ["guardrailRow", "lowDiskRow", "defaultDestinationRow"]) {
                compare(menu(name).currentIndex, -1, name)
                compare(menu(name).displayText, "", name)
            }
            // Other changes on the form leave them as they are.
            flip("scanCompleteToggle")
            choose("externalMinFreeRow", "20 GB")
            flip("scanCompleteToggle")
            wait(50)
            compare(settings.autopilotMinFreeGB, 25)
            compare(stored("autopilotMinFreeGB"), 25)
            compare(stored("lowDiskThresholdPercent"), 87)
            compare(stored("defaultExternalDriveName"), "Drive that is away")
            compare(menu("guardrailRow").currentIndex, -1)
        }

        function test_guardrail_row_only_while_autopilot_is_on() {
            const section = findChild(view, "guardrailSection")
            verify(!section.visible)
            verify(!findChild(view, "runNowButton").visible)
            flip("autopilotToggle")
            verify(section.visible)
            compare(findChild(view, "runNowButton").text, "Run Now")
            compare(findChild(view, "autopilotStatus").text, Services.autopilot.statusLine)
            compare(findChild(view, "autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 20 GB")
            choose("guardrailRow", "50 GB free")
            compare(findChild(view, "autopilotStatus").text, Services.autopilot.statusLine)
            compare(findChild(view, "autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 50 GB")
            flip("autopilotToggle")
            verify(!section.visible)
            compare(findChild(view, "autopilotNote").text,
                    "When free space drops below the guardrail, Tessoly automatically clears Safe-rated caches and thins Time Machine snapshots, then notifies you. Autopilot deletes directly instead of using the Trash — that's the only way the space is actually freed. Caution and Advanced items are never touched, and every run is recorded in History.")
        }

        function test_profile_and_frequency_only_while_auto_cleanup_is_on() {
            const section = findChild(view, "autoCleanupSection")
            verify(!section.visible)
            flip("autoCleanupToggle")
            verify(section.visible)
            flip("autoCleanupToggle")
            verify(!section.visible)
            compare(findChild(view, "autoCleanupNote").text,
                    "Tessoly will run the chosen profile cleanup automatically. Files go to the Trash unless \"Delete immediately\" is turned on in General.")
        }

        function test_run_now_runs_the_guardrail_and_reports_the_last_run() {
            const lastRun = findChild(view, "autopilotLastRun")
            verify(!lastRun.visible) // never ran
            flip("autopilotToggle")
            const button = findChild(view, "runNowButton")
            mouseClick(button)
            tryVerify(() => lastRun.visible, 10000)
            tryCompare(Services.autopilot, "isRunning", false, 10000)
            verify(button.enabled)
            verify(Hooks.storedValue("TessolyAutopilot.lastRunAt") > 0)
            const line = /^Last run (\d+) seconds? ago — reclaimed (.+)$/.exec(lastRun.text)
            verify(line !== null, lastRun.text)
            verify(Number(line[1]) < 60)
            compare(line[2], Format.bytes(Services.autopilot.lastFreedBytes))
        }

        function test_drives_and_their_granted_folders() {
            setDrives([])
            const empty = findChild(view, "noDrivesText")
            verify(empty.visible)
            compare(empty.text, "No external drives are connected right now.")
            compare(labels("defaultDestinationRow"), ["Ask each time"])
            compare(menu("defaultDestinationRow").displayText, "Ask each time")

            setDrives([{ name: "Backup", format: "ext4", free: 500e9, total: 1000e9 },
                       { name: "Stick", format: "ExFAT", free: 60e9, total: 64e9 }])
            verify(!empty.visible)
            const names = Services.drives.drives.map(d => d.name)
            compare(labels("defaultDestinationRow"), ["Ask each time"].concat(names))
            choose("defaultDestinationRow", "Stick")
            compare(settings.defaultExternalDriveName, "Stick")
            compare(stored("defaultExternalDriveName"), "Stick")
            choose("defaultDestinationRow", "Ask each time")
            compare(stored("defaultExternalDriveName"), "")

            const at = names.indexOf("Backup")
            const backupRow = findChild(view, "destinationRow_" + at)
            compare(findChild(backupRow, "driveName").text, "Backup")
            compare(findChild(backupRow, "driveFolder").text, "Not configured — Tessoly will ask when you first move something here")
            verify(!findChild(backupRow, "clearGrant").visible)

            // A first move there asks for a folder; once granted, the row names it.
            const mountPoint = Services.drives.drives[at].mountPoint
            folderRequests.clear()
            Hooks.requestGrant("Backup")
            folderRequests.wait(5000)
            Services.prompter.answerFolder(mountPoint)
            tryCompare(findChild(backupRow, "driveFolder"), "text", mountPoint, 5000)
            compare(Services.destinations.grantedFolder(mountPoint), mountPoint)
            const clear = findChild(backupRow, "clearGrant")
            tryCompare(clear, "visible", true)
            compare(clear.text, "Clear")
            const otherRow = findChild(view, "destinationRow_" + (1 - at))
            verify(!findChild(otherRow, "clearGrant").visible)

            mouseClick(clear)
            tryCompare(findChild(backupRow, "driveFolder"), "text", "Not configured — Tessoly will ask when you first move something here")
            compare(Services.destinations.grantedFolder(mountPoint), "")
            verify(!clear.visible)

            // The chosen default stays stored when its drive goes away.
            choose("defaultDestinationRow", "Backup")
            setDrives([])
            verify(empty.visible)
            compare(menu("defaultDestinationRow").currentIndex, -1)
            compare(stored("defaultExternalDriveName"), "Backup")
        }

        function test_about_card() {
            compare(findChild(view, "versionText").text, Services.version)
            verify(/^\d+\.\d+\.\d+ \(\d+\)$/.test(findChild(view, "versionText").text))
            compare(findChild(view, "makerLink").text, Services.makerName)
            compare(findChild(view, "makerLink").url, Services.makerLink)
            compare(findChild(view, "supportLink").text, Services.supportMail)
            compare(findChild(view, "supportLink").url, "mailto:" + Services.supportMail)
        }
    }
}
