import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// An on/off switch in the app's colours: the accent gradient when on.
Switch {
    id: control
    padding: 0
    spacing: 0
    // Just the switch: its label stands beside it in the row that uses it.
    implicitWidth: indicator.implicitWidth
    implicitHeight: indicator.implicitHeight
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    indicator: Rectangle {
        implicitWidth: 40
        implicitHeight: 24
        x: 0
        y: (control.height - height) / 2
        radius: height / 2
        color: Theme.track
        border.width: 1
        border.color: control.visualFocus ? Theme.indigo : Theme.hairline
        opacity: control.enabled ? 1 : 0.5

        Rectangle { // the "on" face
            anchors.fill: parent
            radius: parent.radius
            opacity: control.checked ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: Theme.fastMs } }
            gradient: Gradient {
                orientation: Gradient.Horizontal
                GradientStop { position: 0; color: Theme.indigo }
                GradientStop { position: 1; color: Theme.violet }
            }
        }
        Rectangle { // the knob
            width: 20
            height: 20
            radius: 10
            y: 2
            x: control.checked ? parent.width - width - 2 : 2
            color: Theme.onAccent
            border.width: control.checked ? 0 : 1
            border.color: Theme.hairline
            scale: control.down ? 0.92 : 1
            Behavior on x { NumberAnimation { duration: Theme.fastMs; easing.type: Easing.OutCubic } }
        }
    }
    contentItem: Item {}
}
