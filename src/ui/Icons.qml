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
        "magnifyingglass.circle": "manage_search",
        "hammer.fill": "build",
        "hammer": "handyman",
        "shippingbox.fill": "inventory_2",
        "shippingbox": "inventory_2",
        "iphone": "smartphone",
        "applewatch": "watch",
        "iphone.gen3.circle.fill": "phone_iphone",
        "doc.text": "article",
        "candybarphone": "phone_android",
        "film.stack": "video_library",
        "film": "movie",
        "camera": "photo_camera",
        "photo.on.rectangle": "photo_library",
        "paintbrush": "brush",
        "wand.and.rays": "auto_fix_high",
        "mug.fill": "coffee",
        "globe": "public",
        "safari": "explore",
        "envelope": "mail",
        "eye": "visibility",
        "swift": "phone_iphone",
        "chevron.left.forwardslash.chevron.right": "code",
        "person.crop.circle": "account_circle",
        "checkmark.square.fill": "check_box",
        "square": "check_box_outline_blank",
        "externaldrive.fill.badge.timemachine": "settings_backup_restore",
        "questionmark.circle": "help_outline",
        "arrow.right": "arrow_forward",
        "chevron.left": "chevron_left"
    })

    function glyph(name) {
        const found = glyphs[name]
        return found === undefined ? "help_outline" : found
    }
}
