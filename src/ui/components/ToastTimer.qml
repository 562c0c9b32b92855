import QtQuick
import Tessoly

// Clears Smart Scan's toast 3.5 s after it appeared. Each face that can be
// on screen while cards are applied runs one, so no toast outlives its moment.
Timer {
    id: timer
    property var smartScan: Services.smartScan
    readonly property var current: smartScan.lastToast
    // The toast this timer will clear; a newer one restarts the timer.
    property string pendingId: ""
    signal appeared(string title, bool success)

    interval: 3500
    onCurrentChanged: follow()
    Component.onCompleted: follow()
    onTriggered: smartScan.clearToast(pendingId)

    function follow() {
        if (current.id === undefined)
            return
        pendingId = current.id
        restart()
        appeared(current.title, current.success)
    }
}
