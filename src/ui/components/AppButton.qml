import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// The app's button: "primary" (gradient), "secondary" (outlined), "plain"
// (borderless) or "destructive". While `busy`, a spinner stands in for the symbol.
// The symbol stands before the label, or after it with `iconTrailing`.
Button {
    id: control
    property string kind: "secondary"
    property string iconName: ""
    property bool busy: false
    property bool iconTrailing: false

    font.family: Theme.fontFamily
    font.pixelSize: Theme.bodySize
    font.weight: Font.DemiBold
    leftPadding: 14
    rightPadding: 14
    topPadding: 8
    bottomPadding: 8
    hoverEnabled: true

    contentItem: Row {
        spacing: 6
        layoutDirection: control.iconTrailing ? Qt.RightToLeft : Qt.LeftToRight
        Spinner {
            objectName: "buttonSpinner"
            visible: control.busy
            implicitWidth: 16
            implicitHeight: 16
            colour: label.color
            anchors.verticalCenter: parent.verticalCenter
        }
        Icon {
            visible: control.iconName !== "" && !control.busy
            name: control.iconName
            size: 16
            color: label.color
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            id: label
            text: control.text
            font: control.font
            anchors.verticalCenter: parent.verticalCenter
            color: control.kind === "primary" ? Theme.onAccent
                 : control.kind === "destructive" ? Theme.red : Theme.text
            opacity: control.enabled ? 1 : 0.45
        }
    }
    background: Rectangle {
        implicitHeight: 34
        radius: Theme.smallRadius
        border.width: control.kind === "primary" || control.kind === "plain" ? 0 : 1
        border.color: control.kind === "destructive" ? Qt.rgba(Theme.red.r, Theme.red.g, Theme.red.b, 0.4) : Theme.hairline
        color: control.down ? Theme.track : control.hovered ? Theme.selection
             : control.kind === "plain" ? "transparent" : Theme.card
        opacity: control.enabled ? 1 : 0.6

        Rectangle { // the primary button's gradient face
            anchors.fill: parent
            visible: control.kind === "primary"
            radius: parent.radius
            opacity: control.down ? 0.85 : 1
            gradient: Gradient {
                orientation: Gradient.Horizontal
                GradientStop { position: 0; color: Theme.indigo }
                GradientStop { position: 1; color: Theme.violet }
            }
        }
    }
}
