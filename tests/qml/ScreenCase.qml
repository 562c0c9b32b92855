import QtQuick
import QtTest
import Tessoly
import TessolyTest

// What every screen test shares: finding items, recording the values a property
// takes, waiting for layouts and for work started by a click, clicking inside
// scrolled pages and checking that items stand apart on screen.
TestCase {
    when: windowShown
    // Where child() looks unless told otherwise.
    property Item scope: parent

    // The item of that objectName under `within` (the scope by default); fails when absent.
    function child(name, within) {
        const found = findChild(within === undefined ? scope : within, name)
        verify(found, name)
        return found
    }

    // The item of that objectName once it has come (a loader may make it later).
    function arrived(name, within) {
        tryVerify(() => findChild(within === undefined ? scope : within, name) !== null, 5000, name + " came")
        return child(name, within)
    }

    // Scripted drives (see Hooks.setDrives), once the drive list shows them all.
    // One refresh at a time: an earlier one still listing could land last.
    function setDrives(drives) {
        tryVerify(() => !Services.drives.isRefreshing, 5000, "no drive refresh under way")
        Hooks.setDrives(drives)
        const names = drives.map(d => d.name).sort().join(",")
        tryVerify(() => !Services.drives.isRefreshing && Services.drives.drives.map(d => d.name).sort().join(",") === names,
                  5000, "drives " + names)
        laidOut()
    }

    // Each named item under `within` shows that text (a figure tile, that value): shows({ title: "A", count: "2" }).
    function shows(texts, within) {
        for (const name in texts) {
            const item = child(name, within)
            compare(item.text !== undefined ? item.text : item.value, texts[name], name)
        }
    }

    // Each named item under `within` is shown or not: showing({ list: true, empty: false }).
    function showing(states, within) {
        for (const name in states)
            compare(child(name, within).visible, states[name], name + (states[name] ? " shown" : " hidden"))
    }

    // Every value a property takes from now on, the present one first: a fast
    // job may start and end within the click that starts it. Lists are copied,
    // since a list property reads as a live view of its object.
    function record(item, property) {
        const now = () => { const v = item[property]; return v !== null && typeof v === "object" && v.length !== undefined ? Array.from(v) : v }
        const seen = [now()]
        item[property + "Changed"].connect(() => seen.push(now()))
        return seen
    }

    // Waits until no shown item under `item` (the scope by default) has a layout
    // pass pending (hidden ones are laid out only once shown).
    function laidOut(item) {
        const pending = it => it.visible && (isPolishScheduled(it) || Array.from(it.children).some(pending))
        tryVerify(() => !pending(item === undefined ? scope : item), 5000, "the page is laid out")
    }

    // Scrolls every page that holds `item` until it shows, then clicks it.
    function click(item) {
        for (let flick = item.parent; flick; flick = flick.parent) {
            if (flick.contentY === undefined || flick.contentItem === undefined)
                continue
            const y = item.mapToItem(flick.contentItem, 0, 0).y
            flick.contentY = Math.max(0, Math.min(y - 40, flick.contentHeight - flick.height))
        }
        mouseClick(item)
    }

    // Clicks `button` once it takes clicks and waits until `done` holds and the page is laid out.
    function run(button, done, timeout) {
        tryCompare(button, "enabled", true)
        click(button)
        tryVerify(done, timeout === undefined ? 20000 : timeout, button.objectName + "'s work finished")
        laidOut()
    }

    // As run(), and the button was busy and closed to clicks while it worked, and only then.
    function runShowsBusy(button, done, timeout) {
        const busy = record(button, "busy")
        const enabled = record(button, "enabled")
        run(button, done, timeout)
        compare(busy, [false, true, false], button.objectName + " busy while it works")
        compare(enabled, [true, false, true], button.objectName + " closed to clicks while it works")
    }

    // The items named prefix0, prefix1, … under `within` (the scope by default), in order.
    function numbered(prefix, within) {
        const found = []
        for (let it; (it = findChild(within === undefined ? scope : within, prefix + found.length)) !== null;)
            found.push(it)
        return found
    }

    // The screen's share of the smallest window (980 x 640 less the sidebar), or the usual 1240 x 900.
    function narrow(on) {
        parent.width = on ? 744 : 1240
        parent.height = on ? 640 : 900
        laidOut()
    }

    // An item's edges in the window.
    function box(item) {
        const at = item.mapToItem(null, 0, 0)
        return { left: at.x, top: at.y, right: at.x + item.width, bottom: at.y + item.height }
    }

    // Each pair [a, b] (items, or names under `within`) stands side by side: a ends where b starts or before.
    function leftOf(pairs, within) {
        for (const pair of pairs) {
            const [a, b] = pair.map(x => typeof x === "string" ? child(x, within) : x)
            verify(box(a).right <= box(b).left + 0.5,
                   (a.objectName || a) + " ends at " + box(a).right + ", " + (b.objectName || b) + " starts at " + box(b).left)
        }
    }

    // Every symbol shown under `item` is a glyph of the bundled icon font, not a
    // placeholder or its ligature name spelled out.
    function symbolsAreGlyphs(item) {
        const walk = it => {
            if (it.visible && it.font !== undefined && it.font.family === Theme.iconFamily && typeof it.name === "string" && it.name !== "") {
                verify(Icons.glyphs[it.name] !== undefined, "no glyph for " + it.name)
                verify(it.implicitWidth > 0 && it.implicitWidth <= it.font.pixelSize * 1.3, it.name + " is " + it.implicitWidth + " px wide")
            }
            for (let i = 0; i < it.children.length; ++i) // a list property, not an iterable
                walk(it.children[i])
        }
        walk(item === undefined ? scope : item)
    }
}
