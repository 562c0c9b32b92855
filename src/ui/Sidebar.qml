import QtQuick
import QtQuick.Layouts
import Tessoly

// Brand, the sections, and the disk card at the bottom.
Rectangle {
    id: sidebar
    property var sections: []
    property string selection: "overview"
    signal selected(string section)

    implicitWidth: 236
    color: Theme.sidebar

    Rectangle { // hairline on the right edge
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.hairline
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        anchors.topMargin: 22
        spacing: 4

        RowLayout {
            spacing: 10
            Layout.bottomMargin: 18
            Layout.leftMargin: 4
            Rectangle {
                id: brandMark
                implicitWidth: 36; implicitHeight: 36; radius: 11
                gradient: Gradient {
                    orientation: Gradient.Horizontal
                    GradientStop { position: 0; color: Theme.indigo }
                    GradientStop { position: 1; color: Theme.violet }
                }
                Icon { anchors.centerIn: parent; name: "internaldrive"; size: 20; color: "white" }
                RotationAnimation on rotation {
                    running: !Theme.reduceMotion
                    from: -4; to: 4; duration: 2600
                    loops: Animation.Infinite
                    easing.type: Easing.InOutSine
                    direction: RotationAnimation.Shortest
                }
            }
            ColumnLayout {
                spacing: 0
                Text {
                    text: "Tessoly"
                    font.family: Theme.fontFamily
                    font.pixelSize: 17
                    font.weight: Font.Bold
                    color: Theme.text
                }
                Text {
                    text: "Storage, made obvious"
                    font.family: Theme.fontFamily
                    font.pixelSize: 11
                    color: Theme.tertiaryText
                }
            }
        }

        Repeater {
            model: sidebar.sections
            delegate: SidebarItem {
                required property var modelData
                objectName: "section_" + modelData.key
                Layout.fillWidth: true
                label: modelData.label
                iconName: modelData.icon
                selected: sidebar.selection === modelData.key
                onActivated: sidebar.selected(modelData.key)
            }
        }

        Item { Layout.fillHeight: true }

        DiskUsageMini { Layout.fillWidth: true }
    }
}
