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
        function selected(name, value) { return menu(name).options.findIndex(option => option.value === value) }

        // Opens a row's menu with the mouse and clicks the entry of that value.
        function choose(name, value) {
            const combo = menu(name)
            const index = selected(name, value)
            verify(index >= 0, "no entry " + value + " in " + name)
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
            Object.assign(settings, { autopilotEnabled: false, autoCleanupEnabled: false, autopilotMinFreeGB: 20, defaultExternalDriveName: "",
                                      lowDiskThresholdPercent: 90, externalDriveMinFreeGB: 10, interfaceMode: "simple",
                                      autoCleanupProfile: "generalUser", autoCleanupFrequency: "weekly" })
            laidOut()
        }
        function cleanup() { symbolsAreGlyphs() }

        function test_switch_data() {
            return ["autopilotToggle autopilotEnabled guardrailSection", "deleteImmediatelyToggle deleteImmediately",
                    "animationsToggle animationsEnabled", "menubarIconToggle showMenubarIcon", "notificationsToggle notificationsEnabled",
                    "scanCompleteToggle notifyOnScanComplete", "slowDriveToggle warnOnSlowExternalDrive",
                    "autoCleanupToggle autoCleanupEnabled autoCleanupSection"]
                .map(s => s.split(" ")).map(([row, property, section]) => ({ tag: row, row, property, section }))
        }
        // Each switch writes and stores its setting at once, and follows a change
        // made elsewhere; a section of choices shows only while its switch is on.
        function test_switch(data) {
            const control = child(data.row).control
            const before = settings[data.property]
            compare(control.checked, before)
            for (const value of [!before, before]) {
                flip(data.row)
                compare(settings[data.property], value)
                compare(stored(data.property), value)
                if (data.section)
                    compare(child(data.section).visible, value)
            }
            for (const value of [!before, before]) {
                settings[data.property] = value // changed elsewhere
                compare(control.checked, value)
            }
        }

        function test_menu_data() {
            return [{ tag: "guardrail", row: "guardrailRow", shown: "autopilotToggle", property: "autopilotMinFreeGB", value: 50 },
                    { tag: "interface", row: "interfaceRow", property: "interfaceMode", value: "advanced" },
                    { tag: "low disk", row: "lowDiskRow", property: "lowDiskThresholdPercent", value: 80 },
                    { tag: "external free", row: "externalMinFreeRow", property: "externalDriveMinFreeGB", value: 100 },
                    { tag: "frequency", row: "frequencyRow", shown: "autoCleanupToggle", property: "autoCleanupFrequency", value: "biweekly" },
                    { tag: "profile", row: "profileRow", shown: "autoCleanupToggle", property: "autoCleanupProfile",
                      value: Catalogue.profiles()[0].id }]
        }
        // Each menu shows the present value, writes and stores the chosen one at once,
        // and still follows a change made elsewhere after a choice.
        function test_menu(data) {
            if (data.shown)
                flip(data.shown)
            const before = settings[data.property]
            verify(data.value !== before, "the choice changes the setting")
            compare(menu(data.row).currentIndex, selected(data.row, before))
            choose(data.row, data.value)
            compare(settings[data.property], data.value)
            compare(stored(data.property), data.value)
            settings[data.property] = before
            compare(menu(data.row).currentIndex, selected(data.row, before))
            verify(menu(data.row).currentIndex >= 0)
        }

        function test_a_value_outside_a_menu_shows_no_selection_and_stays() {
            flip("autopilotToggle")
            Object.assign(settings, { autopilotMinFreeGB: 25, lowDiskThresholdPercent: 87, defaultExternalDriveName: "Drive that is away" })
            for (const name of ["guardrailRow", "lowDiskRow", "defaultDestinationRow"]) {
                compare(menu(name).currentIndex, -1, name)
                compare(menu(name).displayText, "", name)
            }
            // Other changes on the form leave them as they are.
            flip("scanCompleteToggle")
            choose("externalMinFreeRow", 20)
            flip("scanCompleteToggle")
            compare([stored("autopilotMinFreeGB"), stored("lowDiskThresholdPercent"), stored("defaultExternalDriveName")],
                    [25, 87, "Drive that is away"])
            compare(menu("guardrailRow").currentIndex, -1)
        }

        function test_autopilot_status_and_run_now() {
            const lastRun = child("autopilotLastRun")
            verify(!lastRun.visible && !child("runNowButton").visible) // never ran, off
            flip("autopilotToggle")
            compare(child("autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 20 GB")
            choose("guardrailRow", 50)
            compare(child("autopilotStatus").text, "Monitoring — 123.4 GB free, guardrail 50 GB")
            const button = child("runNowButton")
            mouseClick(button)
            tryVerify(() => lastRun.visible && !Services.autopilot.isRunning, 10000)
            verify(button.enabled)
            const line = /^Last run \d+ seconds? ago — reclaimed (.+)$/.exec(lastRun.text)
            verify(line !== null, lastRun.text)
            compare(line[1], Format.bytes(Services.autopilot.lastFreedBytes))
        }

        function test_drives_and_their_granted_folders() {
            setDrives([])
            const empty = child("noDrivesText")
            verify(empty.visible)
            compare(menu("defaultDestinationRow").options.length, 1) // ask each time
            setDrives([{ name: "Backup", format: "ext4", free: 500e9, total: 1000e9 },
                       { name: "Stick", format: "ExFAT", free: 60e9, total: 64e9 }])
            tryCompare(empty, "visible", false)
            const names = Services.drives.drives.map(d => d.name)
            compare(menu("defaultDestinationRow").options.slice(1).map(o => o.label), names)
            // A first move there asks for a folder; once granted, the row names it and can forget it.
            const at = names.indexOf("Backup")
            const backupRow = arrived("destinationRow_" + at)
            const notConfigured = child("driveFolder", backupRow).text
            shows({ driveName: "Backup" }, backupRow)
            verify(!child("clearGrant", backupRow).visible)
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
    }
}
