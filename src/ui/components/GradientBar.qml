import QtQuick
import Tessoly

// A rounded track with a left-to-right indigo-to-violet fill.
Item {
    id: bar
    property real fraction: 0
    property int barHeight: 10
    implicitHeight: barHeight

    Rectangle {
        id: track
        anchors.fill: parent
        radius: height / 2
        color: Theme.track
    }
    Rectangle {
        objectName: "gradientFill"
        height: parent.height
        width: track.width * Math.max(0, Math.min(1, bar.fraction))
        radius: height / 2
        visible: width > 0
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: Theme.indigo }
            GradientStop { position: 1; color: Theme.violet }
        }
    }
}
