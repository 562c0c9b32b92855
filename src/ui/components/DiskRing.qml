import QtQuick
import Tessoly

// A round disk meter: a track and an indigo-to-violet arc for the used
// fraction, drawn from the top clockwise. The fraction moves with a spring.
Item {
    id: ring
    property real fraction: 0
    property int lineWidth: 14
    property real shownFraction: 0
    default property alias content: centre.data

    onFractionChanged: shownFraction = Math.max(0, Math.min(1, fraction))
    Component.onCompleted: shownFraction = Math.max(0, Math.min(1, fraction))
    Behavior on shownFraction {
        enabled: !Theme.reduceMotion
        SpringAnimation { spring: 3.5; damping: 0.6; epsilon: 0.001 }
    }
    onShownFractionChanged: canvas.requestPaint()

    Canvas {
        id: canvas
        anchors.fill: parent
        readonly property color trackColour: Theme.track
        onTrackColourChanged: requestPaint()
        onWidthChanged: requestPaint()
        onHeightChanged: requestPaint()

        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            const size = Math.min(width, height)
            const radius = (size - ring.lineWidth) / 2
            const cx = width / 2
            const cy = height / 2
            ctx.lineWidth = ring.lineWidth
            ctx.lineCap = "round"

            ctx.beginPath()
            ctx.strokeStyle = trackColour
            ctx.arc(cx, cy, radius, 0, 2 * Math.PI)
            ctx.stroke()

            if (ring.shownFraction <= 0)
                return
            const gradient = ctx.createLinearGradient(cx - radius, cy - radius, cx + radius, cy + radius)
            gradient.addColorStop(0, Theme.indigo)
            gradient.addColorStop(1, Theme.violet)
            ctx.beginPath()
            ctx.strokeStyle = gradient
            const start = -Math.PI / 2
            ctx.arc(cx, cy, radius, start, start + 2 * Math.PI * ring.shownFraction)
            ctx.stroke()
        }
    }

    Item {
        id: centre
        anchors.fill: parent
    }
}
