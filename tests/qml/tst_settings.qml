import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Settings form against the real settings store of the temporary home:
// every control writes its setting at once, and follows changes made elsewhere.
Item {
    id: root
    width: 1000
    height: 2300 // the whole form at once

    SettingsView { id: view; anchors.fill: parent }

    SignalSpy { id: folderRequests; target: Services.prompter; signalName: "folderRequested" }

    ScreenCase {
        name: "Settings"
        scope: view

        readonly property var settings: Services.settings

        function stored(key) { return Hooks.storedValue("TessolySettings." + key) }
        function menu(name) { return child(name).menu }
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
            mouseClick(child(name).control)
            laidOut()
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
            laidOut()
        }

        function cleanup() {
            symbolsAreGlyphs()
        }

        function test_switch_data() {
            return ["autopilotToggle autopilotEnabled", "deleteImmediatelyToggle deleteImmediately", "animationsToggle animationsEnabled",
                    "menubarIconToggle showMenubarIcon", "notificationsToggle notificationsEnabled",
                    "scanCompleteToggle notifyOnScanComplete", "slowDriveToggle warnOnSlowExternalDrive",
                    "autoCleanupToggle autoCleanupEnabled"].map(s => ({ tag: s.split(" ")[0], row: s.split(" ")[0], property: s.split(" ")[1] }))
        }
        // Each switch writes and stores its setting at once, and follows a change made elsewhere.
        function test_switch(data) {
            const control = child(data.row).control
            const before = settings[data.property]
            compare(control.checked, before)
            for (const value of [!before, before]) {
                flip(data.row)
                compare(settings[data.property], value)
                compare(stored(data.property), value)
            }
            settings[data.property] = !before
            compare(control.checked, !before)
            settings[data.property] = before
            compare(control.checked, before)
        }

        function test_menu_data() {
            return [{ tag: "guardrail", row: "guardrailRow", shown: "autopilotToggle", property: "autopilotMinFreeGB",
                      labels: ["10 GB free", "15 GB free", "20 GB free", "30 GB free", "50 GB free"], label: "50 GB free", value: 50 },
                    { tag: "interface", row: "interfaceRow", property: "interfaceMode",
                      labels: ["Easy — one-click cleaning", "Full — every tool"], label: "Full — every tool", value: "advanced" },
                    { tag: "low disk", row: "lowDiskRow", property: "lowDiskThresholdPercent",
                      labels: ["75%", "80%", "85%", "90%", "95%"], label: "80%", value: 80 },
                    { tag: "external free", row: "externalMinFreeRow", property: "externalDriveMinFreeGB",
                      labels: ["5 GB", "10 GB", "20 GB", "50 GB", "100 GB"], label: "100 GB", value: 100 },
                    { tag: "frequency", row: "frequencyRow", shown: "autoCleanupToggle", property: "autoCleanupFrequency",
                      labels: ["Daily", "Weekly", "Every two weeks", "Monthly"], label: "Every two weeks", value: "biweekly" },
                    { tag: "profile", row: "profileRow", shown: "autoCleanupToggle", property: "autoCleanupProfile",
                      labels: Catalogue.profiles().map(p => p.displayName), label: Catalogue.profiles()[0].displayName,
                      value: Catalogue.profiles()[0].id }]
        }
        // Each menu shows the present value, writes and stores the chosen one at once,
        // and still follows a change made elsewhere after a choice.
        function test_menu(data) {
            if (data.shown)
                flip(data.shown)
            const before = settings[data.property]
            verify(data.value !== before, "the choice changes the setting")
            compare(labels(data.row), data.labels)
            compare(menu(data.row).currentIndex, menu(data.row).options.findIndex(o => o.value === before))
            choose(data.row, data.label)
            compare(settings[data.property], data.value)
            compare(stored(data.property), data.value)
            settings[data.property] = before
            compare(menu(data.row).currentIndex, menu(data.row).options.findIndex(o => o.value === before))
            verify(menu(data.row).currentIndex >= 0)
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
            compare(stored("autopilotMinFreeGB"), 25)
            compare(stored("lowDiskThresholdPercent"), 87)
            compare(stored("defaultExternalDriveName"), "Drive that is away")
            compare(menu("guardrailRow").currentIndex, -1)
        }

        function test_section_data() {
            return [{ tag: "guardrail", toggle: "autopilotToggle", section: "guardrailSection" },
                    { tag: "auto-cleanup", toggle: "autoCleanupToggle", section: "autoCleanupSection" }]
        }
        // A section of choices shows only while its switch is on.
        function test_section(data) {
            verify(!child(data.section).visible)
            flip(data.toggle)
            verify(child(data.section).visible)
            flip(data.toggle)
            verify(!child(data.section).visible)
        }

        function test_autopilot_status_and_run_now() {
            const lastRun = child("autopilotLastRun")
            verify(!lastRun.visible) // never ran
            verify(!child("runNowButton").visible)
            flip("autopilotToggle")
            compare(child("autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 20 GB")
            choose("guardrailRow", "50 GB free")
            compare(child("autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 50 GB")

            const button = child("runNowButton")
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
            const empty = child("noDrivesText")
            verify(empty.visible)
            compare(labels("defaultDestinationRow"), ["Ask each time"])
            compare(menu("defaultDestinationRow").displayText, "Ask each time")

            setDrives([{ name: "Backup", format: "ext4", free: 500e9, total: 1000e9 },
                       { name: "Stick", format: "ExFAT", free: 60e9, total: 64e9 }])
            tryCompare(empty, "visible", false)
            const names = Services.drives.drives.map(d => d.name)
            compare(labels("defaultDestinationRow"), ["Ask each time"].concat(names))
            choose("defaultDestinationRow", "Stick")
            compare(stored("defaultExternalDriveName"), "Stick")
            choose("defaultDestinationRow", "Ask each time")
            compare(stored("defaultExternalDriveName"), "")

            const at = names.indexOf("Backup")
            const backupRow = arrived("destinationRow_" + at)
            const notConfigured = "Not configured — Tessoly will ask when you first move something here"
            compare(child("driveName", backupRow).text, "Backup")
            compare(child("driveFolder", backupRow).text, notConfigured)
            verify(!child("clearGrant", backupRow).visible)

            // A first move there asks for a folder; once granted, the row names it.
            const mountPoint = Services.drives.drives[at].mountPoint
            folderRequests.clear()
            Hooks.requestGrant("Backup")
            folderRequests.wait(5000)
            Services.prompter.answerFolder(mountPoint)
            tryCompare(child("driveFolder", backupRow), "text", mountPoint, 5000)
            const clear = child("clearGrant", backupRow)
            tryCompare(clear, "visible", true)
            verify(!child("clearGrant", child("destinationRow_" + (1 - at))).visible)
            mouseClick(clear)
            tryCompare(child("driveFolder", backupRow), "text", notConfigured)
            compare(Services.destinations.grantedFolder(mountPoint), "")
            verify(!clear.visible)

            // The chosen default stays stored when its drive goes away.
            choose("defaultDestinationRow", "Backup")
            setDrives([])
            tryCompare(empty, "visible", true)
            compare(menu("defaultDestinationRow").currentIndex, -1)
            compare(stored("defaultExternalDriveName"), "Backup")
        }

        function test_about_card() {
            verify(/^\d+\.\d+\.\d+ \(\d+\)$/.test(child("versionText").text), child("versionText").text)
            compare(child("versionText").text, Services.version)
            compare(child("makerLink").url, Services.makerLink)
            compare(child("supportLink").url, "mailto:" + Services.supportMail)
        }
    }
}
