import QtQuick
import QtTest
import Tessoly
import TessolyTest

// The Dev Clean screen on a temporary home: node_modules folders on disk, fake
// docker and xcrun scripts printing recorded outputs; what the screen shows
// while they work and after (the outputs' meaning is the service suite's).
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
        function hold(on) { on ? Hooks.writeText("tools/hold", "") : Hooks.removePath("tools/hold") }

        function scan() {
            scanSpy.clear()
            // A scan of a small home may end within the click: count its start and its end.
            run(child("scanButton"), () => scanSpy.count >= 2 && !devClean.isScanning)
        }

        // Clicks `button` with the tools held: while `id` is worked on (or a scan
        // runs), the button is busy and closed to clicks (and `meanwhile` holds).
        function heldClick(button, id, meanwhile) {
            hold(true)
            click(button)
            tryVerify(() => id === "scan" ? devClean.isScanning : devClean.workingIds.indexOf(id) >= 0, 5000, id + " at work")
            verify(button.busy && !button.enabled, button.objectName + " busy while it works")
            if (meanwhile)
                meanwhile()
            hold(false)
        }

        // xcrun's listings: runtimes {id: [name, bytes, deletable]}, and `unavailable` devices gone.
        function runtimes(list) {
            const all = {}
            for (const id in list)
                all[id] = { identifier: id, runtimeIdentifier: "com.apple.CoreSimulator.SimRuntime." + list[id][0], sizeBytes: list[id][1],
                            state: "Ready", deletable: list[id][2] }
            return JSON.stringify(all)
        }
        function devices(unavailable) {
            const gone = Array.from({ length: unavailable },
                                    (_, i) => ({ name: "iPhone " + i, udid: "OLD-" + i, isAvailable: false, state: "Shutdown" }))
            return JSON.stringify({ devices: { "com.apple.CoreSimulator.SimRuntime.iOS-15-0": gone } })
        }

        function cleanup() {
            symbolsAreGlyphs()
            narrow(false)
            hold(false)
            for (const path of ["code", ".local/share/Trash", "tools/xcrun"])
                Hooks.removePath(path)
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_first_scan() {
            const button = child("scanButton")
            verify(button.enabled && !button.busy)
            showing({ devCleanEmpty: true, nodeModulesCard: false, dockerCard: false, simulatorsCard: false })
            // A docker that holds its answer keeps the scan running.
            fakeTool("docker", { [df]: `echo "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?" >&2; exit 1` })
            heldClick(button, "scan", () => verify(child("buttonSpinner", button).visible))
            tryCompare(devClean, "isScanning", false, 20000)
            verify(button.enabled && !button.busy)
            // An empty home, docker down, no simulator tool: empty states and docker's status, no totals.
            showing({ devCleanEmpty: false, nodeModulesCard: true, dockerCard: true, simulatorsCard: true, nodeModulesEmpty: true,
                      runtimesEmpty: true, orphanedDevices: false, dockerStatus: true, dockerReady: false, dockerResult: false })
            shows({ nodeModulesTotal: "", simulatorsTotal: "" })
        }

        function test_docker_prune_shows_its_work_and_outcome() {
            fakeTool("docker", {
                [df]: prints('{"Active":"2","Reclaimable":"1.2GB (50%)","Size":"2.4GB","TotalCount":"5","Type":"Images"}'),
                "system prune -af": prints("Deleted Images:\nuntagged: node:18\n\nTotal reclaimed space: 1.5GB")
                    + later("docker", df, '{"Active":"2","Reclaimable":"0B (0%)","Size":"1.2GB","TotalCount":"2","Type":"Images"}') })
            scan()
            showing({ dockerStatus: false, dockerReady: true })
            verify(devClean.docker.reclaimableBytes > 0)
            compare(child("dockerReclaimable").text, Format.bytes(devClean.docker.reclaimableBytes))
            const prune = child("pruneButton")
            heldClick(prune, "docker")
            const result = child("dockerResult")
            tryCompare(result, "visible", true, 10000)
            verify(result.message.startsWith("Docker reclaimed " + Format.bytes(1500000000) + "."), result.message)
            compare(child("resultIcon", result).name, "checkmark.circle.fill")
            tryCompare(prune, "enabled", true)
            compare(child("dockerReclaimable").text, Format.bytes(0)) // measured again
            scan()
            verify(!result.visible, "a new scan starts without the last outcomes")
        }

        function test_node_modules_rows_and_their_deletion() {
            Hooks.makeAllocated("code/webshop/node_modules/react/react.bin", 80 * 1048576)
            Hooks.makeAllocated("code/old-site/node_modules/lodash/lodash.bin", 60 * 1048576)
            scan()
            compare(devClean.nodeModules.length, 2)
            const [first, second] = devClean.nodeModules
            shows({ projectName: "webshop", folderPath: "~/code/webshop/node_modules", folderSize: Format.bytes(first.bytes) },
                  child("nodeModulesRow_0"))
            shows({ nodeModulesTotal: Format.bytes(first.bytes + second.bytes) })
            // To the Trash; the outcome stays, named, when the row goes.
            click(child("deleteFolder", child("nodeModulesRow_0")))
            tryVerify(() => devClean.nodeModules.length === 1, 10000)
            laidOut()
            verify(!Hooks.exists("code/webshop/node_modules"))
            const moved = child("formerFolderResult_0")
            compare(moved.message, "Moved to Trash — empty the Trash to reclaim " + Format.bytes(first.bytes) + ".")
            shows({ resultLabel: "webshop" }, moved)
            shows({ nodeModulesTotal: Format.bytes(second.bytes) })
        }

        // A row per runtime, a delete button only on those the tool may delete; a
        // delete the tool refuses leaves the runtime with the tool's words under it.
        // In the smallest window, texts, figures and buttons stay apart.
        function test_simulator_runtimes_a_refused_delete_and_a_narrow_window() {
            fakeTool("xcrun", { "simctl runtime list -j": prints(runtimes({ IOS17: ["iOS-17-2", 7400000000, true],
                                    IOS16: ["iOS-16-4", 6100000000, false], WATCH: ["watchOS-10-0", 3200000000, true] })),
                                "simctl list devices -j": prints(devices(2)),
                                "simctl runtime delete WATCH": `echo "the runtime is in use." >&2; exit 1` })
            Hooks.makeAllocated("code/a-project-with-a-rather-long-name-that-a-narrow-window-has-to-shorten-somewhere/node_modules/pkg/blob.bin", 55 * 1048576)
            scan()
            shows({ simulatorsTotal: Format.bytes(16700000000), orphanedCount: "2 orphaned simulator devices" })
            const rows = numbered("runtimeRow_")
            compare(rows.map(r => child("runtimeName", r).text), ["iOS 17.2", "iOS 16.4", "watchOS 10.0"])
            rows.forEach((r, i) => showing({ deleteRuntime: i !== 1, runtimeKept: i === 1 }, r))
            heldClick(child("deleteRuntime", rows[2]), "WATCH", () => verify(child("deleteRuntime", rows[0]).enabled, "only its row is busy"))
            tryVerify(() => devClean.results.WATCH !== undefined, 10000)
            laidOut()
            const refused = child("runtimeResult", rows[2])
            verify(refused.visible)
            compare(refused.message, "Couldn't delete watchOS 10.0: the runtime is in use.")
            compare(child("resultIcon", refused).name, "exclamationmark.triangle.fill")

            narrow(true)
            leftOf([["headerBody", "scanButton"], ["nodeModulesDescription", "nodeModulesTotal"],
                    ["simulatorsDescription", "simulatorsTotal"], ["orphanedDescription", "removeOrphaned"]])
            const folder = child("nodeModulesRow_0")
            leftOf([["projectName", "folderSize"], ["folderPath", "folderSize"], ["projectActivity", "folderSize"],
                    ["folderSize", "deleteFolder"]], folder)
            verify(child("projectName", folder).truncated) // elided, not drawn under the size
            const sizes = rows.map(row => {
                leftOf([["runtimeName", "runtimeSize"]], row)
                return box(child("runtimeSize", row)).right
            })
            compare(sizes[0], sizes[1]) // with or without a delete button, the sizes line up
            for (const card of ["devCleanHeader", "nodeModulesCard", "dockerCard", "simulatorsCard"])
                verify(box(child(card)).right <= root.width, card + " fits")
        }
    }
}
