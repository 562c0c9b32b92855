import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Dev Clean screen on a temporary home: node_modules folders made on
// disk, and fake docker and xcrun scripts that print recorded outputs.
Item {
    id: root
    width: 1240
    height: 900

    DevCleanView { id: view; anchors.fill: parent }
    SignalSpy { id: scanSpy; target: Services.devClean; signalName: "isScanningChanged" }

    ScreenCase {
        name: "DevClean"
        scope: view

        readonly property var devClean: Services.devClean

        readonly property string df: "system df --format {{json .}}"
        readonly property string dockerDown:
            `echo "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?" >&2; exit 1`

        // A fake command-line tool: each call runs the shell snippet written for
        // its arguments in "tools/answers/<tool>/<arguments>". It waits while
        // "tools/hold" exists, to catch an action in progress.
        function fakeTool(tool, answers) {
            Hooks.removePath("tools/answers/" + tool)
            for (const args in answers)
                Hooks.writeText("tools/answers/" + tool + "/" + args, answers[args])
            Hooks.writeTool(tool, `here=$(dirname "$0"); answer="$here/answers/${tool}/$*"
while [ -f "$here/hold" ]; do sleep 0.02; done
if [ -f "$answer" ]; then . "$answer"; else echo "unexpected: $*" >&2; exit 2; fi`)
        }
        // Snippets: print a text; from now on answer other arguments by printing another.
        function prints(text) { return "cat <<'END'\n" + text + "\nEND\n" }
        function later(tool, args, text) {
            return `printf '%s\\n' "cat <<'END'" '${text}' END > "$here/answers/${tool}/${args}"\n`
        }

        function scan() {
            const button = child("scanButton")
            tryCompare(button, "enabled", true)
            scanSpy.clear()
            click(button)
            // A scan of a small home may end within the click: count its start and its end.
            tryVerify(() => scanSpy.count >= 2 && !devClean.isScanning, 20000, "a scan finished")
            laidOut()
        }

        function hold(on) {
            if (on)
                Hooks.writeText("tools/hold", "")
            else
                Hooks.removePath("tools/hold")
        }

        // Runtimes {id: [name, bytes, deletable, days since last use or undefined]} as xcrun lists them.
        function runtimes(list) {
            const all = {}
            for (const id in list) {
                const [name, bytes, deletable, days] = list[id]
                all[id] = { identifier: id, runtimeIdentifier: "com.apple.CoreSimulator.SimRuntime." + name,
                            sizeBytes: bytes, state: "Ready", deletable: deletable }
                if (days !== undefined)
                    all[id].lastUsedAt = new Date(Date.now() - days * 86400000 - 60000).toISOString().replace(/\.\d+Z$/, "Z")
            }
            return JSON.stringify(all)
        }

        function devices(unavailable) {
            const gone = []
            for (let i = 0; i < unavailable; ++i)
                gone.push({ name: "iPhone " + (11 + i), udid: "OLD-" + i, isAvailable: false, state: "Shutdown" })
            return JSON.stringify({ devices: { "com.apple.CoreSimulator.SimRuntime.iOS-15-0": gone } })
        }

        function cleanup() {
            symbolsAreGlyphs()
            root.width = 1240
            root.height = 900
            hold(false)
            Hooks.removePath("code")
            Hooks.removePath(".local/share/Trash")
            Services.settings.deleteImmediately = false
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_first_scan() {
            const button = child("scanButton")
            compare(button.text, "Scan")
            verify(button.enabled && !button.busy)
            showing({ devCleanEmpty: true, nodeModulesCard: false, dockerCard: false, simulatorsCard: false })

            // A docker that holds its answer keeps the scan running.
            fakeTool("docker", { [df]: dockerDown })
            hold(true)
            mouseClick(button)
            tryCompare(devClean, "isScanning", true)
            compare(button.text, "Scanning…")
            verify(!button.enabled && button.busy && child("buttonSpinner", button).visible)
            compare(child("firstScanState").title, "Scanning…")
            hold(false)
            tryCompare(devClean, "isScanning", false, 20000)

            compare(button.text, "Re-scan")
            verify(button.enabled && !button.busy)
            // An empty home with no simulator tool: empty states, no totals.
            showing({ devCleanEmpty: false, nodeModulesCard: true, dockerCard: true, simulatorsCard: true,
                      nodeModulesEmpty: true, runtimesEmpty: true, orphanedDevices: false })
            shows({ nodeModulesTotal: "", simulatorsTotal: "" })
        }

        function test_docker_status_data() {
            return [{ tag: "not installed", script: "", status: "Docker isn't installed on this Mac." },
                    { tag: "not running", script: dockerDown,
                      status: "Docker isn't running. Start Docker Desktop, then re-scan to see how much is reclaimable." }]
        }
        function test_docker_status(row) {
            if (row.script === "")
                Hooks.removePath("tools/docker")
            else
                fakeTool("docker", { [df]: row.script })
            scan()
            showing({ dockerStatus: true, dockerReady: false, dockerResult: false })
            compare(child("dockerStatusText").text, row.status)
        }

        function test_docker_prune_shows_its_work_and_outcome() {
            fakeTool("docker", {
                [df]: prints('{"Active":"2","Reclaimable":"1.2GB (50%)","Size":"2.4GB","TotalCount":"5","Type":"Images"}\n'
                             + '{"Active":"0","Reclaimable":"300MB","Size":"300MB","TotalCount":"12","Type":"Build Cache"}'),
                "system prune -af": prints("Deleted Images:\nuntagged: node:18\n\nTotal reclaimed space: 1.5GB")
                    + later("docker", df, '{"Active":"2","Reclaimable":"0B (0%)","Size":"1.2GB","TotalCount":"2","Type":"Images"}') })
            scan()
            showing({ dockerStatus: false, dockerReady: true })
            verify(devClean.docker.reclaimableBytes > 0)
            compare(child("dockerReclaimable").text, Format.bytes(devClean.docker.reclaimableBytes))
            const prune = child("pruneButton")
            verify(prune.enabled)

            hold(true)
            click(prune)
            tryVerify(() => devClean.workingIds.indexOf("docker") >= 0)
            verify(!prune.enabled && prune.busy)
            compare(prune.text, "Pruning…")
            hold(false)
            const result = child("dockerResult")
            tryCompare(result, "visible", true, 10000)
            verify(result.message.startsWith("Docker reclaimed " + Format.bytes(1500000000) + "."), result.message)
            compare(child("resultIcon", result).name, "checkmark.circle.fill")
            tryCompare(prune, "enabled", true)
            compare(child("dockerReclaimable").text, Format.bytes(0)) // measured again

            // A new scan starts without the last outcomes.
            scan()
            verify(!result.visible)
        }

        function test_node_modules_rows_and_their_deletion() {
            const mib = 1048576
            Hooks.makeAllocated("code/webshop/node_modules/react/react.bin", 80 * mib)
            Hooks.writeText("code/webshop/package.json", "{}")
            Hooks.setModified("code/webshop/package.json", 3 * 86400 + 60)
            Hooks.makeAllocated("code/old-site/node_modules/lodash/lodash.bin", 60 * mib)
            Hooks.writeText("code/old-site/.env", "KEY=1")
            scan()

            compare(devClean.nodeModules.length, 2)
            verify(!child("nodeModulesEmpty").visible)
            const [first, second] = devClean.nodeModules
            shows({ projectName: "webshop", folderPath: "~/code/webshop/node_modules", folderSize: Format.bytes(first.bytes),
                    projectActivity: "project last touched 3 days ago" }, child("nodeModulesRow_0"))
            shows({ projectName: "old-site", folderPath: "~/code/old-site/node_modules", folderSize: Format.bytes(second.bytes),
                    projectActivity: "no project activity found" }, child("nodeModulesRow_1"))
            verify(!child("folderResult", child("nodeModulesRow_0")).visible)
            shows({ nodeModulesTotal: Format.bytes(first.bytes + second.bytes), nodeModulesTotalCaption: "in 2 folders" })

            // To the Trash while the setting is off; the outcome stays, named, when the row goes.
            const trash = child("deleteFolder", child("nodeModulesRow_0"))
            compare(trash.text, "Move to Trash")
            click(trash)
            tryVerify(() => devClean.nodeModules.length === 1, 10000)
            laidOut()
            verify(!Hooks.exists(Hooks.homePath() + "/code/webshop/node_modules"))
            const moved = child("formerFolderResult_0")
            verify(moved.visible)
            compare(moved.message, "Moved to Trash — empty the Trash to reclaim " + Format.bytes(first.bytes) + ".")
            compare(child("resultIcon", moved).name, "checkmark.circle.fill")
            compare(child("resultLabel", moved).text, "webshop")
            shows({ nodeModulesTotal: Format.bytes(second.bytes), nodeModulesTotalCaption: "in 1 folder" })

            // Deleted at once with the setting on; the list empties.
            Services.settings.deleteImmediately = true
            const remove = child("deleteFolder", child("nodeModulesRow_0"))
            compare(remove.text, "Delete")
            click(remove)
            tryVerify(() => devClean.nodeModules.length === 0, 10000)
            laidOut()
            verify(!Hooks.exists(Hooks.homePath() + "/code/old-site/node_modules"))
            verify(child("nodeModulesEmpty").visible)
            compare(child("nodeModulesTotal").text, "")
            compare(child("resultLabel", child("formerFolderResult_0")).text, "old-site")
            verify(child("formerFolderResult_1").visible)
        }

        function test_simulator_runtimes_and_orphaned_devices() {
            const list = { IOS17: ["iOS-17-2", 7400000000, true, 3], IOS16: ["iOS-16-4", 6100000000, false],
                           WATCH: ["watchOS-10-0", 3200000000, true, 14] }
            const without = Object.assign({}, list)
            delete without.IOS17
            fakeTool("xcrun", { "simctl runtime list -j": prints(runtimes(list)), "simctl list devices -j": prints(devices(2)),
                                "simctl runtime delete IOS17": later("xcrun", "simctl runtime list -j", runtimes(without)),
                                "simctl runtime delete WATCH": `echo "the runtime is in use." >&2; exit 1`,
                                "simctl delete unavailable": later("xcrun", "simctl list devices -j", devices(0)) })
            scan()

            shows({ simulatorsTotal: Format.bytes(16700000000), simulatorsTotalCaption: "in 3 runtimes",
                    orphanedCount: "2 orphaned simulator devices" })
            const expected = [["iOS 17.2", 7400000000, "last used 3 days ago", true],
                              ["iOS 16.4", 6100000000, "no record of use", false],
                              ["watchOS 10.0", 3200000000, "last used 2 weeks ago", true]]
            expected.forEach(([name, bytes, used, deletable], i) => {
                shows({ runtimeName: name, runtimeSize: Format.bytes(bytes), runtimeLastUsed: used }, child("runtimeRow_" + i))
                showing({ deleteRuntime: deletable, runtimeKept: !deletable }, child("runtimeRow_" + i))
            })

            // A delete the tool carries out: only its row is busy; the runtime leaves, its outcome stays.
            hold(true)
            const deleteFirst = child("deleteRuntime", child("runtimeRow_0"))
            click(deleteFirst)
            tryVerify(() => devClean.workingIds.indexOf("IOS17") >= 0)
            verify(deleteFirst.busy && !deleteFirst.enabled)
            verify(child("deleteRuntime", child("runtimeRow_2")).enabled)
            hold(false)
            tryVerify(() => devClean.runtimes.length === 2, 10000)
            laidOut()
            compare(child("formerRuntimeResult_0").message, "Deleted iOS 17.2 — Xcode re-downloads it on demand.")
            compare(child("simulatorsTotalCaption").text, "in 2 runtimes")

            // A delete the tool refuses: the runtime stays, with the tool's words under it.
            click(child("deleteRuntime", child("runtimeRow_1")))
            tryVerify(() => devClean.results.WATCH !== undefined, 10000)
            laidOut()
            const refused = child("runtimeResult", child("runtimeRow_1"))
            verify(refused.visible)
            compare(refused.message, "Couldn't delete watchOS 10.0: the runtime is in use.")
            compare(child("resultIcon", refused).name, "exclamationmark.triangle.fill")

            // Removing the orphaned devices: busy, then the block goes and the outcome stays.
            const remove = child("removeOrphaned")
            hold(true)
            click(remove)
            tryVerify(() => devClean.workingIds.indexOf("sim.unavailable") >= 0)
            verify(remove.busy && !remove.enabled)
            hold(false)
            tryCompare(child("orphanedResult"), "visible", true, 10000)
            tryCompare(child("orphanedDevices"), "visible", false)

            Hooks.writeText("tools/answers/xcrun/simctl list devices -j", prints(devices(1)))
            scan()
            compare(child("orphanedCount").text, "1 orphaned simulator device")
            verify(!child("orphanedResult").visible)
            Hooks.removePath("tools/xcrun")
        }

        // The screen's share of the smallest window (980 x 640 less the sidebar):
        // texts, figures and buttons stand side by side without overlapping.
        function test_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            Hooks.makeAllocated("code/a-project-with-a-rather-long-name-that-a-narrow-window-has-to-shorten-somewhere/node_modules/pkg/blob.bin", 55 * 1048576)
            fakeTool("xcrun", { "simctl runtime list -j": prints(runtimes({ K: ["iOS-16-4", 6100000000, false], D: ["iOS-17-2", 7400000000, true] })),
                                "simctl list devices -j": prints(devices(3)) })
            scan()

            leftOf([["headerBody", "scanButton"], ["nodeModulesDescription", "nodeModulesTotal"],
                    ["simulatorsDescription", "simulatorsTotal"], ["orphanedDescription", "removeOrphaned"]])
            const folder = child("nodeModulesRow_0")
            leftOf([["projectName", "folderSize"], ["folderPath", "folderSize"], ["projectActivity", "folderSize"],
                    ["folderSize", "deleteFolder"]], folder)
            verify(child("projectName", folder).truncated) // elided, not drawn under the size
            const sizes = [0, 1].map(i => {
                const row = child("runtimeRow_" + i)
                leftOf([["runtimeName", "runtimeSize"]], row)
                return box(child("runtimeSize", row)).right
            })
            compare(sizes[0], sizes[1]) // with or without a delete button, the sizes line up
            for (const card of ["devCleanHeader", "nodeModulesCard", "dockerCard", "simulatorsCard"])
                verify(box(child(card)).right <= root.width, card + " fits")
            Hooks.removePath("tools/xcrun")
        }
    }
}
