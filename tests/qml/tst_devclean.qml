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

    Component { id: iconComponent; Icon { size: 20 } }

    TestCase {
        name: "DevClean"
        when: windowShown

        readonly property var devClean: Services.devClean

        // The fake tools: each waits while "tools/hold" exists (to catch an
        // action in progress), then answers by its arguments from text files
        // beside it, as the real tools' outputs would read.
        readonly property string dockerScript: `here=$(dirname "$0")
while [ -f "$here/hold" ]; do sleep 0.02; done
case "$*" in
  "system df --format {{json .}}") cat "$here/docker-df.txt" ;;
  "system prune -af")
    cat "$here/docker-prune.txt"
    if [ -f "$here/docker-df-after.txt" ]; then mv "$here/docker-df-after.txt" "$here/docker-df.txt"; fi ;;
  *) echo "unexpected: $*" >&2; exit 2 ;;
esac
`
        readonly property string dockerDownScript: `while [ -f "$(dirname "$0")/hold" ]; do sleep 0.02; done
echo "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?" >&2
exit 1
`
        readonly property string xcrunScript: `here=$(dirname "$0")
while [ -f "$here/hold" ]; do sleep 0.02; done
case "$*" in
  "simctl runtime list -j") cat "$here/runtimes.json" ;;
  "simctl list devices -j") cat "$here/devices.json" ;;
  "simctl runtime delete "*)
    if [ -f "$here/runtimes-without-$4.json" ]; then
      mv "$here/runtimes-without-$4.json" "$here/runtimes.json"
    else
      echo "An error was encountered processing the command (domain=SimDiskImageErrorDomain, code=5): the runtime is in use." >&2
      exit 1
    fi ;;
  "simctl delete unavailable") cp "$here/devices-after.json" "$here/devices.json" ;;
  *) echo "unexpected: $*" >&2; exit 2 ;;
esac
`
        function child(name, within) {
            const found = findChild(within === undefined ? view : within, name)
            verify(found, name)
            return found
        }

        // Clicks an item of the page after scrolling it into view.
        function click(item) {
            const flick = child("devCleanScroll").contentItem
            const y = item.mapToItem(flick.contentItem, 0, 0).y
            flick.contentY = Math.max(0, Math.min(y - 40, flick.contentHeight - flick.height))
            wait(0)
            mouseClick(item)
        }

        function scan() {
            const button = child("scanButton")
            tryCompare(button, "enabled", true)
            scanSpy.clear()
            click(button)
            // A scan of a small home may end within the click: count its start and its end.
            tryVerify(() => scanSpy.count >= 2 && !devClean.isScanning, 20000, "a scan finished")
            wait(20) // let the rows lay out
        }

        // ISO 8601 text (whole seconds) for a moment `seconds` ago.
        function isoAgo(seconds) {
            return new Date(Date.now() - seconds * 1000).toISOString().replace(/\.\d+Z$/, "Z")
        }

        function runtime(id, identifier, bytes, extra) {
            const entry = { identifier: id, runtimeIdentifier: "com.apple.CoreSimulator.SimRuntime." + identifier,
                            sizeBytes: bytes, state: "Ready" }
            return Object.assign(entry, extra || {})
        }

        function devices(unavailable) {
            const gone = []
            for (let i = 0; i < unavailable; ++i)
                gone.push({ name: "iPhone " + (11 + i), udid: "OLD-" + i, isAvailable: false, state: "Shutdown" })
            return JSON.stringify({ devices: {
                "com.apple.CoreSimulator.SimRuntime.iOS-15-0": gone,
                "com.apple.CoreSimulator.SimRuntime.iOS-17-2": [{ name: "iPhone 15", udid: "NEW-0", isAvailable: true, state: "Shutdown" }]
            } })
        }

        SignalSpy { id: scanSpy; target: Services.devClean; signalName: "isScanningChanged" }

        function cleanup() {
            root.width = 1240
            root.height = 900
            Hooks.removePath("tools/hold")
            Hooks.removePath("code")
            Services.settings.deleteImmediately = false
        }

        // Runs first (names sort): nothing has been scanned in this process yet.
        function test_a_header_and_the_first_scan() {
            compare(child("headerIcon").name, "wrench.and.screwdriver")
            compare(child("headerHeadline").text, "Find the gigabytes your tools left behind")
            compare(child("headerBody").text,
                    "node_modules folders in projects you've moved on from, Docker images and build cache nothing references, and iOS simulator runtimes for versions you no longer test. All of it rebuilds on demand — none of it needs to sit on your disk.")
            compare(child("headerNote").text,
                    "The three biggest regenerable space sinks on a dev machine — dependencies reinstall, images re-pull, runtimes re-download.")
            const button = child("scanButton")
            compare(button.text, "Scan")
            verify(button.enabled)
            verify(!button.busy)
            verify(child("devCleanEmpty").visible)
            compare(child("firstScanState").title, "Nothing scanned yet")
            for (const card of ["nodeModulesCard", "dockerCard", "simulatorsCard"])
                verify(!child(card).visible, card)

            // A docker that holds its answer keeps the scan running.
            Hooks.writeTool("docker", dockerDownScript)
            Hooks.writeText("tools/hold", "")
            mouseClick(button)
            tryCompare(devClean, "isScanning", true)
            compare(button.text, "Scanning…")
            verify(!button.enabled)
            verify(button.busy)
            verify(child("buttonSpinner", button).visible)
            compare(child("firstScanState").title, "Scanning…")
            verify(!child("nodeModulesCard").visible)
            mouseClick(button) // disabled: no second scan
            Hooks.removePath("tools/hold")
            tryCompare(devClean, "hasScanned", true, 20000)
            tryCompare(devClean, "isScanning", false)

            compare(button.text, "Re-scan")
            verify(button.enabled)
            verify(!button.busy)
            verify(!child("devCleanEmpty").visible)
            for (const card of ["nodeModulesCard", "dockerCard", "simulatorsCard"])
                verify(child(card).visible, card)

            // An empty home with no simulator tool.
            compare(child("nodeModulesTitle").text, "node_modules")
            compare(child("nodeModulesDescription").text, "Deleting is safe — package.json stays, npm install rebuilds.")
            compare(child("nodeModulesEmpty").text, "No node_modules folders of meaningful size found in your project folders.")
            verify(child("nodeModulesEmpty").visible)
            compare(child("nodeModulesTotal").text, "")
            compare(child("nodeModulesTotalCaption").text, "")
            compare(child("dockerStatusText").text,
                    "Docker isn't running. Start Docker Desktop, then re-scan to see how much is reclaimable.")
            compare(child("simulatorsTitle").text, "iOS simulator runtimes")
            compare(child("simulatorsDescription").text,
                    "Each runtime is a 5–8 GB disk image. Deleted ones re-download from Xcode when needed.")
            verify(child("runtimesEmpty").visible)
            compare(child("simulatorsTotal").text, "")
            compare(child("simulatorsTotalCaption").text, "")
            compare(child("runtimesEmpty").text, "No simulator runtimes installed (or Xcode isn't set up on this Mac).")
            verify(!child("orphanedDevices").visible)
            verify(!child("orphanedResult").visible)
        }

        function test_docker_states() {
            compare(child("dockerTitle").text, "Docker")
            compare(child("dockerDescription").text, "Unused images, stopped containers, build cache. Volumes are never touched.")

            Hooks.removeTool("docker")
            scan()
            compare(devClean.docker.state, "notInstalled")
            verify(child("dockerStatus").visible)
            compare(child("dockerStatusText").text, "Docker isn't installed on this Mac.")
            verify(!child("dockerReady").visible)
            verify(!child("dockerResult").visible)

            Hooks.writeTool("docker", dockerDownScript)
            scan()
            compare(devClean.docker.state, "notRunning")
            compare(child("dockerStatusText").text,
                    "Docker isn't running. Start Docker Desktop, then re-scan to see how much is reclaimable.")
            verify(!child("dockerReady").visible)

            // Ready: images, containers, volumes and build cache; volumes' share is 0.
            Hooks.writeText("tools/docker-df.txt", [
                '{"Active":"2","Reclaimable":"1.2GB (50%)","Size":"2.4GB","TotalCount":"5","Type":"Images"}',
                '{"Active":"0","Reclaimable":"512kB (100%)","Size":"512kB","TotalCount":"1","Type":"Containers"}',
                '{"Active":"1","Reclaimable":"0B (0%)","Size":"300MB","TotalCount":"2","Type":"Local Volumes"}',
                '{"Active":"0","Reclaimable":"300MB","Size":"300MB","TotalCount":"12","Type":"Build Cache"}',
                ''].join("\n"))
            Hooks.writeText("tools/docker-df-after.txt", [
                '{"Active":"2","Reclaimable":"0B (0%)","Size":"1.2GB","TotalCount":"2","Type":"Images"}',
                '{"Active":"1","Reclaimable":"0B (0%)","Size":"300MB","TotalCount":"2","Type":"Local Volumes"}',
                ''].join("\n"))
            Hooks.writeText("tools/docker-prune.txt",
                "Deleted Images:\nuntagged: node:18\ndeleted: sha256:4b1c\n\nDeleted build cache objects:\nq8x1k\n\nTotal reclaimed space: 1.5GB\n")
            Hooks.writeTool("docker", dockerScript)
            scan()
            compare(devClean.docker.state, "ready")
            compare(devClean.docker.reclaimableBytes, 1500512000)
            verify(!child("dockerStatus").visible)
            verify(child("dockerReady").visible)
            compare(child("dockerReclaimable").text, Format.bytes(1500512000))
            compare(child("dockerReclaimableCaption").text, "reclaimable")
            compare(child("pruneNote").text, "docker system prune -a — removes unused images, stopped containers and build cache.")
            const prune = child("pruneButton")
            compare(prune.text, "Prune")
            verify(prune.enabled)

            // The button shows the prune running, then its outcome and the new status.
            Hooks.writeText("tools/hold", "")
            click(prune)
            tryVerify(() => devClean.workingIds.indexOf("docker") >= 0)
            verify(!prune.enabled)
            verify(prune.busy)
            compare(prune.text, "Pruning…")
            click(prune) // disabled: one prune at a time
            Hooks.removePath("tools/hold")
            const result = child("dockerResult")
            tryCompare(result, "visible", true, 10000)
            compare(result.message, "Docker reclaimed " + Format.bytes(1500000000)
                    + ". To shrink the disk image file itself, lower the disk limit in Docker Desktop → Settings → Resources.")
            compare(child("resultIcon", result).name, "checkmark.circle.fill")
            tryCompare(prune, "enabled", true)
            compare(child("dockerReclaimable").text, "Zero KB")

            // Nothing left: the prune says so.
            Hooks.writeText("tools/docker-prune.txt", "Total reclaimed space: 0B\n")
            click(prune)
            tryCompare(result, "message", "Prune ran — nothing unused to remove.", 10000)
            tryCompare(prune, "enabled", true)

            // A new scan starts without the last outcomes.
            scan()
            verify(!result.visible)
        }

        // The screen's share of the smallest window (980 x 640 less the sidebar):
        // texts, figures and buttons stand side by side without overlapping.
        function test_narrow_window_keeps_rows_apart() {
            root.width = 744
            root.height = 640
            Hooks.makeAllocated("code/a-project-with-a-rather-long-name-that-a-narrow-window-has-to-shorten-somewhere/node_modules/pkg/blob.bin", 55 * 1048576)
            const runtimes = {}
            runtimes.K = runtime("K", "iOS-16-4", 6100000000, { deletable: false })
            runtimes.D = runtime("D", "iOS-17-2", 7400000000, { deletable: true })
            Hooks.writeText("tools/runtimes.json", JSON.stringify(runtimes))
            Hooks.writeText("tools/devices.json", devices(3))
            Hooks.writeTool("xcrun", xcrunScript)
            scan()
            wait(50)

            const box = item => {
                const at = item.mapToItem(root, 0, 0)
                return { left: at.x, top: at.y, right: at.x + item.width, bottom: at.y + item.height }
            }
            const before = (a, b, what) => verify(box(a).right <= box(b).left + 0.5, what + ": " + box(a).right + " > " + box(b).left)
            before(child("headerBody"), child("scanButton"), "header text and scan button")
            before(child("nodeModulesDescription"), child("nodeModulesTotal"), "note and total")
            const folder = child("nodeModulesRow_0")
            for (const name of ["projectName", "folderPath", "projectActivity"])
                before(child(name, folder), child("folderSize", folder), name + " and size")
            before(child("folderSize", folder), child("deleteFolder", folder), "size and button")
            verify(child("projectName", folder).truncated) // the long name is elided, not drawn under the size
            before(child("simulatorsDescription"), child("simulatorsTotal"), "description and total")
            const sizes = []
            for (let i = 0; i < 2; ++i) {
                const row = child("runtimeRow_" + i)
                before(child("runtimeName", row), child("runtimeSize", row), "runtime name and size")
                sizes.push(box(child("runtimeSize", row)).right)
            }
            compare(sizes[0], sizes[1]) // with or without a delete button, the sizes line up
            before(child("orphanedDescription"), child("removeOrphaned"), "orphaned text and button")
            for (const card of ["devCleanHeader", "nodeModulesCard", "dockerCard", "simulatorsCard"])
                verify(box(child(card)).right <= root.width, card + " fits")

            Hooks.removeTool("xcrun")
        }

        function test_node_modules_rows_and_their_deletion() {
            const mib = 1048576
            // Worked on three days ago: only its own files count as activity.
            Hooks.makeAllocated("code/webshop/node_modules/react/react.bin", 80 * mib)
            Hooks.writeText("code/webshop/package.json", "{}")
            Hooks.setModified("code/webshop/package.json", 3 * 86400 + 60)
            // Nothing but hidden files at its top: no activity found.
            Hooks.makeAllocated("code/old-site/node_modules/lodash/lodash.bin", 60 * mib)
            Hooks.writeText("code/old-site/.env", "KEY=1")
            // Too small to list.
            Hooks.makeAllocated("code/tiny/node_modules/left-pad/index.bin", 10 * mib)
            scan()

            compare(devClean.nodeModules.length, 2)
            verify(!child("nodeModulesEmpty").visible)
            const first = devClean.nodeModules[0]
            const second = devClean.nodeModules[1]
            const webshop = child("nodeModulesRow_0")
            compare(child("projectName", webshop).text, "webshop")
            compare(child("folderPath", webshop).text, "~/code/webshop/node_modules")
            compare(child("folderSize", webshop).text, Format.bytes(first.bytes))
            compare(child("projectActivity", webshop).text, "project last touched 3 days ago")
            verify(!child("folderResult", webshop).visible)
            const oldSite = child("nodeModulesRow_1")
            compare(child("projectName", oldSite).text, "old-site")
            compare(child("folderPath", oldSite).text, "~/code/old-site/node_modules")
            compare(child("folderSize", oldSite).text, Format.bytes(second.bytes))
            compare(child("projectActivity", oldSite).text, "no project activity found")
            verify(child("nodeModulesTotal").visible)
            compare(child("nodeModulesTotal").text, Format.bytes(first.bytes + second.bytes))
            compare(child("nodeModulesTotalCaption").text, "in 2 folders")

            // To the Trash while the setting is off; the outcome stays when the row goes.
            const trash = child("deleteFolder", webshop)
            compare(trash.text, "Move to Trash")
            click(trash)
            tryVerify(() => devClean.nodeModules.length === 1, 10000)
            wait(20)
            verify(!Hooks.exists(Hooks.homePath() + "/code/webshop/node_modules"))
            verify(Hooks.exists(Hooks.homePath() + "/code/webshop/package.json"))
            const moved = child("formerFolderResult_0")
            verify(moved.visible)
            compare(moved.message, "Moved to Trash — empty the Trash to reclaim " + Format.bytes(first.bytes) + ".")
            compare(child("resultIcon", moved).name, "checkmark.circle.fill")
            compare(child("resultLabel", moved).text, "webshop") // the row is gone: the outcome says whose it was
            compare(child("nodeModulesTotal").text, Format.bytes(second.bytes))
            compare(child("nodeModulesTotalCaption").text, "in 1 folder")
            compare(child("projectName", child("nodeModulesRow_0")).text, "old-site")

            // Deleted at once with the setting on.
            Services.settings.deleteImmediately = true
            const remove = child("deleteFolder", child("nodeModulesRow_0"))
            compare(remove.text, "Delete")
            click(remove)
            tryVerify(() => devClean.nodeModules.length === 0, 10000)
            wait(20)
            verify(!Hooks.exists(Hooks.homePath() + "/code/old-site/node_modules"))
            verify(child("nodeModulesEmpty").visible)
            compare(child("nodeModulesTotal").text, "")
            // Both outcomes, in the order of their folders' paths.
            compare(child("formerFolderResult_0").message, "Deleted — run npm install in old-site if you return to it.")
            compare(child("resultLabel", child("formerFolderResult_0")).text, "old-site")
            compare(child("formerFolderResult_1").message,
                    "Moved to Trash — empty the Trash to reclaim " + Format.bytes(first.bytes) + ".")

            Hooks.removePath(".local/share/Trash")
        }

        function test_simulator_runtimes_and_orphaned_devices() {
            const ios17 = "5A1F0C2E-17B2-4C4B-9D1E-6F1A2B3C4D5E"
            const ios16 = "9B2E1D3F-16A4-4A1B-8C2D-1E2F3A4B5C6D"
            const watch = "C3D4E5F6-10A0-4B5C-9D8E-7F6A5B4C3D2E"
            const tv = "D4E5F6A7-17B0-4C5D-8E9F-0A1B2C3D4E5F"
            const all = {}
            all[ios17] = runtime(ios17, "iOS-17-2", 7400000000, { lastUsedAt: isoAgo(3 * 86400 + 60), deletable: true })
            all[ios16] = runtime(ios16, "iOS-16-4", 6100000000, { deletable: false })
            all[watch] = runtime(watch, "watchOS-10-0", 3200000000, { lastUsedAt: isoAgo(14 * 86400 + 60) })
            all[tv] = runtime(tv, "tvOS-17-0", 0, { deletable: true }) // no size: not listed
            const without = Object.assign({}, all)
            delete without[ios17]
            Hooks.writeText("tools/runtimes.json", JSON.stringify(all))
            Hooks.writeText("tools/runtimes-without-" + ios17 + ".json", JSON.stringify(without))
            Hooks.writeText("tools/devices.json", devices(2))
            Hooks.writeText("tools/devices-after.json", devices(0))
            Hooks.writeTool("xcrun", xcrunScript)
            scan()

            compare(devClean.runtimes.length, 3)
            verify(!child("runtimesEmpty").visible)
            compare(child("simulatorsTotal").text, Format.bytes(16700000000))
            compare(child("simulatorsTotalCaption").text, "in 3 runtimes")
            const expected = [
                { name: "iOS 17.2", bytes: 7400000000, used: "last used 3 days ago", deletable: true },
                { name: "iOS 16.4", bytes: 6100000000, used: "no record of use", deletable: false },
                { name: "watchOS 10.0", bytes: 3200000000, used: "last used 2 weeks ago", deletable: true }
            ]
            for (let i = 0; i < expected.length; ++i) {
                const row = child("runtimeRow_" + i)
                compare(child("runtimeName", row).text, expected[i].name)
                compare(child("runtimeSize", row).text, Format.bytes(expected[i].bytes))
                compare(child("runtimeLastUsed", row).text, expected[i].used)
                compare(child("deleteRuntime", row).visible, expected[i].deletable, expected[i].name)
                compare(child("runtimeKept", row).visible, !expected[i].deletable, expected[i].name)
                verify(!child("runtimeResult", row).visible)
            }
            compare(child("runtimeKeptText", child("runtimeRow_1")).text, "Not deletable")

            // The orphaned devices.
            verify(child("orphanedDevices").visible)
            compare(child("orphanedCount").text, "2 orphaned simulator devices")
            compare(child("orphanedDescription").text, "Devices whose runtime was removed — their data folders serve nothing.")

            // A delete the tool carries out: the runtime leaves, its outcome stays.
            Hooks.writeText("tools/hold", "")
            const deleteFirst = child("deleteRuntime", child("runtimeRow_0"))
            click(deleteFirst)
            tryVerify(() => devClean.workingIds.indexOf(ios17) >= 0)
            verify(deleteFirst.busy)
            verify(!deleteFirst.enabled)
            verify(child("deleteRuntime", child("runtimeRow_2")).enabled) // others stay free
            Hooks.removePath("tools/hold")
            tryVerify(() => devClean.runtimes.length === 2, 10000)
            wait(20)
            const gone = child("formerRuntimeResult_0")
            compare(gone.message, "Deleted iOS 17.2 — Xcode re-downloads it on demand.")
            compare(child("resultIcon", gone).name, "checkmark.circle.fill")
            compare(child("simulatorsTotalCaption").text, "in 2 runtimes")

            // A delete the tool refuses: the runtime stays, with the tool's words under it.
            const watchRow = child("runtimeRow_1")
            compare(child("runtimeName", watchRow).text, "watchOS 10.0")
            click(child("deleteRuntime", watchRow))
            tryVerify(() => devClean.results[watch] !== undefined, 10000)
            wait(20)
            const refused = child("runtimeResult", child("runtimeRow_1"))
            verify(refused.visible)
            compare(refused.message, "Couldn't delete watchOS 10.0: An error was encountered processing the command (domain=SimDiskImageErrorDomain, code=5): the runtime is in use.")
            compare(child("resultIcon", refused).name, "exclamationmark.triangle.fill")
            compare(devClean.runtimes.length, 2)

            // Removing the orphaned devices: the block goes, the outcome stays.
            const remove = child("removeOrphaned")
            Hooks.writeText("tools/hold", "")
            click(remove)
            tryVerify(() => devClean.workingIds.indexOf("sim.unavailable") >= 0)
            verify(remove.busy)
            verify(!remove.enabled)
            Hooks.removePath("tools/hold")
            const removed = child("orphanedResult")
            tryCompare(removed, "visible", true, 10000)
            compare(removed.message, "Removed simulator devices whose runtime is gone.")
            tryCompare(child("orphanedDevices"), "visible", false)

            // One device alone is named in the singular.
            Hooks.writeText("tools/devices.json", devices(1))
            scan()
            compare(child("orphanedCount").text, "1 orphaned simulator device")
            verify(!child("orphanedResult").visible)

            Hooks.removeTool("xcrun")
            scan()
            verify(child("runtimesEmpty").visible)
            verify(!child("orphanedDevices").visible)
        }

        // Every symbol of the screen is a glyph of the bundled font, not its name spelled out.
        function test_symbols_are_glyphs() {
            for (const name of ["wrench.and.screwdriver", "shippingbox.fill", "cube.transparent.fill", "iphone", "iphone.gen3",
                                "iphone.slash", "power", "hourglass", "info.circle", "lock.fill", "folder", "trash",
                                "checkmark.circle.fill", "exclamationmark.triangle.fill", "magnifyingglass.circle",
                                "arrow.clockwise", "magnifyingglass"]) {
                const icon = createTemporaryObject(iconComponent, root, { name: name })
                verify(Icons.glyphs[name] !== undefined, name)
                verify(icon.implicitWidth > 0 && icon.implicitWidth <= icon.size * 1.3,
                       name + " is " + icon.implicitWidth + " px wide")
            }
        }
    }
}
