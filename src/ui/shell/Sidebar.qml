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
            BrandMark { id: brandMark; size: 36 }
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
