pragma Singleton
import QtQuick

// The symbol names the screens use, drawn with Material Icons ligatures.
QtObject {
    readonly property var glyphs: ({
        "sparkles.rectangle.stack": "auto_awesome_motion",
        "rays": "flare",
        "magnifyingglass": "search",
        "person.crop.square.filled.and.at.rectangle": "badge",
        "wrench.and.screwdriver": "build",
        "clock.arrow.circlepath": "history",
        "gearshape.fill": "settings",
        "externaldrive.connected.to.line.below": "usb",
        "externaldrive.badge.plus": "drive_file_move",
        "doc.text.magnifyingglass": "find_in_page",
        "trash": "delete",
        "sparkles": "auto_awesome",
        "chevron.right": "chevron_right",
        "chevron.down": "expand_more",
        "doc": "description",
        "folder": "folder",
        "arrow.up.right.square": "open_in_new",
        "arrow.uturn.backward": "undo",
        "internaldrive": "storage",
        "exclamationmark.triangle.fill": "warning",
        "checkmark.circle.fill": "check_circle",
        "magnifyingglass.circle": "manage_search"
    })

    function glyph(name) {
        const found = glyphs[name]
        return found === undefined ? "help_outline" : found
    }
}
