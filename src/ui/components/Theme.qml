pragma Singleton
import QtQuick

// The visual system: every colour, size and font of the screens.
QtObject {
    id: theme

    property SystemPalette systemPalette: SystemPalette {}
    readonly property bool dark: systemPalette.window.hslLightness < 0.4

    // Accent and signal colours.
    readonly property color indigo: "#6366F1"
    readonly property color violet: "#7C3AED"
    readonly property color green: "#10B981"
    readonly property color red: "#F43F5E"
    readonly property color orange: "#F59E0B"
    readonly property color yellow: "#EAB308"
    readonly property color purple: "#A855F7"
    readonly property color blue: "#3B82F6"
    // The accent as one colour: the middle of the indigo-to-violet gradient.
    readonly property color accentTint: "#6F50EF"
    readonly property color teal: "#14B8A6"
    readonly property color cyan: "#06B6D4"
    readonly property color mint: "#34D399"
    readonly property color gray: "#94A3B8"
    readonly property color slate: "#7C8BA1"

    // Neutrals.
    readonly property color text: dark ? "#F1F5F9" : "#0F172A"
    readonly property color secondaryText: dark ? "#CBD5E1" : "#475569"
    readonly property color tertiaryText: dark ? "#94A3B8" : "#64748B"
    readonly property color mutedText: dark ? "#64748B" : "#94A3B8"
    readonly property color hairline: dark ? "#334155" : "#E2E8F0"
    readonly property color track: dark ? "#1E293B" : "#EEF2F7"
    readonly property color card: dark ? "#1E293B" : "#FFFFFF"
    readonly property color page: dark ? "#0B1120" : "#F8FAFC"
    readonly property color pageTint: dark ? "#111827" : "#EEF0FF"
    readonly property color sidebar: dark ? "#990F172A" : "#B3FFFFFF"
    readonly property color selection: dark ? "#33363AF1" : "#1A6366F1"
    readonly property color shadow: dark ? "#66000000" : "#140F172A"
    readonly property color scrim: dark ? "#99000000" : "#520F172A" // behind modal sheets
    readonly property color onAccent: "#FFFFFF" // text and symbols on the accent gradient

    // Shapes and spacing.
    readonly property int radius: 14
    readonly property int smallRadius: 9
    readonly property int padding: 20
    readonly property int gap: 16
    readonly property int pageMargin: 32

    // Type.
    readonly property string fontFamily: "Inter"
    readonly property string iconFamily: "Material Icons"
    readonly property int bodySize: 13
    readonly property int smallSize: 12
    readonly property int titleSize: 26
    readonly property int headingSize: 16
    readonly property int rowTitleSize: 14
    readonly property int sectionTitleSize: 18
    readonly property int heroSize: 56

    // Motion: instant when animations are off.
    property bool reduceMotion: false
    readonly property int fastMs: reduceMotion ? 0 : 160
    readonly property int panelMs: reduceMotion ? 0 : 320
    readonly property int staggerMs: reduceMotion ? 0 : 70

    // Colour by the names the services use for tints.
    function tint(name) {
        switch (name) {
        case "indigo": return indigo
        case "violet": return violet
        case "red": return red
        case "green": return green
        case "orange": return orange
        case "yellow": return yellow
        case "purple": return purple
        case "blue": return blue
        case "accent": return accentTint
        case "teal": return teal
        case "cyan": return cyan
        case "mint": return mint
        case "gray": return gray
        case "secondary": return slate
        default: return tertiaryText
        }
    }

    // A colour at a lower opacity, for the pale squares and badges behind symbols.
    function pale(colour, alpha) {
        return Qt.rgba(colour.r, colour.g, colour.b, alpha === undefined ? 0.13 : alpha)
    }

    // The colour of a risk ("safe", "caution", "advanced").
    function riskColor(risk) {
        switch (risk) {
        case "caution": return orange
        case "advanced": return red
        default: return green
        }
    }
}
