import QtQuick
import Tessoly

// The brand mark: the drive glyph on an indigo-to-violet rounded square that
// rocks gently (when `rocking`, and never when motion is reduced).
Rectangle {
    id: mark
    property int size: 36
    property bool rocking: true
    implicitWidth: size
    implicitHeight: size
    radius: Math.round(size * 0.3)
    gradient: Gradient {
        orientation: Gradient.Horizontal
        GradientStop { position: 0; color: Theme.indigo }
        GradientStop { position: 1; color: Theme.violet }
    }

    Icon { anchors.centerIn: parent; name: "internaldrive"; size: Math.round(mark.size * 0.56); color: Theme.onAccent }

    RotationAnimation on rotation {
        running: mark.rocking && !Theme.reduceMotion
        from: -4; to: 4; duration: 2600
        loops: Animation.Infinite
        easing.type: Easing.InOutSine
        direction: RotationAnimation.Shortest
    }
}
