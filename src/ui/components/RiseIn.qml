import QtQuick
import Tessoly

// A panel's entrance: after a pause by its place in the page, it fades in
// while rising a few pixels. Instant when motion is reduced.
SequentialAnimation {
    id: rise
    property Item target
    property int order: 0
    readonly property Translate shift: Translate { y: 0 }

    // Call from the panel's Component.onCompleted, with `transform: rise.shift`.
    function enter() {
        target.opacity = 0
        shift.y = Theme.reduceMotion ? 0 : 12
        start()
    }

    PauseAnimation { duration: Math.max(0, rise.order) * Theme.staggerMs }
    ParallelAnimation {
        NumberAnimation {
            target: rise.target
            property: "opacity"
            to: 1
            duration: Theme.panelMs
            easing.type: Easing.OutCubic
        }
        NumberAnimation {
            target: rise.shift
            property: "y"
            to: 0
            duration: Theme.panelMs
            easing.type: Easing.OutCubic
        }
    }
}
