import QtQuick
import QtQuick.Layouts
import Tessoly

// The sidebar's small disk card: free space, a bar and used of capacity.
Card {
    id: mini
    objectName: "diskUsageMini"
    property var scanner: Services.scanner
    readonly property real fraction: scanner.totalCapacity > 0 ? scanner.totalUsed / scanner.totalCapacity : 0
    property real animatedFrac: 0
    padding: 14

    onFractionChanged: animatedFrac = fraction
    Component.onCompleted: appear.start()
    Behavior on animatedFrac {
        enabled: !Theme.reduceMotion
        SequentialAnimation {
            PauseAnimation { duration: 150 }
            SpringAnimation { spring: 3.5; damping: 0.5; epsilon: 0.001 }
        }
    }
    Timer { id: appear; interval: 1; onTriggered: mini.animatedFrac = mini.fraction }

    ColumnLayout {
        width: parent.width
        spacing: 8
        RowLayout {
            Layout.fillWidth: true
            Caption {
                text: "Disk"
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Item { Layout.fillWidth: true }
            Caption {
                objectName: "miniFree"
                text: Format.bytes(mini.scanner.totalFree) + " free"
            }
        }
        GradientBar {
            Layout.fillWidth: true
            barHeight: 6
            fraction: mini.animatedFrac
        }
        Caption {
            objectName: "miniUsed"
            text: Format.bytes(mini.scanner.totalUsed) + " of " + Format.bytes(mini.scanner.totalCapacity)
        }
    }
}
