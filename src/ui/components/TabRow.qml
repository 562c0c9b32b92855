import QtQuick
import Tessoly

// A segmented row of tab labels; currentIndex follows the click.
Rectangle {
    id: row
    property var labels: []
    property var icons: []
    property int currentIndex: 0
    implicitWidth: tabs.implicitWidth + 8
    implicitHeight: 38
    radius: Theme.smallRadius + 2
    color: Theme.track

    Row {
        id: tabs
        anchors.centerIn: parent
        spacing: 2
        Repeater {
            model: row.labels
            delegate: Rectangle {
                required property int index
                required property string modelData
                objectName: "tab_" + modelData
                width: Math.ceil(tabContent.implicitWidth) + 28
                height: 30
                radius: Theme.smallRadius
                color: index === row.currentIndex ? Theme.card : "transparent"
                border.color: index === row.currentIndex ? Theme.hairline : "transparent"
                Behavior on color { ColorAnimation { duration: Theme.fastMs } }
                Row {
                    id: tabContent
                    anchors.centerIn: parent
                    spacing: 6
                    Icon {
                        visible: row.icons.length > index
                        name: row.icons.length > index ? row.icons[index] : ""
                        size: 16
                        color: index === row.currentIndex ? Theme.indigo : Theme.tertiaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Body {
                        // as wide as in its selected weight, so that the tabs keep their places
                        width: Math.ceil(selectedLabel.advanceWidth)
                        horizontalAlignment: Text.AlignHCenter
                        text: modelData
                        anchors.verticalCenter: parent.verticalCenter
                        font.weight: index === row.currentIndex ? Font.DemiBold : Font.Medium
                        color: index === row.currentIndex ? Theme.text : Theme.tertiaryText
                    }
                }
                TextMetrics {
                    id: selectedLabel
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.bodySize
                    font.weight: Font.DemiBold
                    text: modelData
                }
                MouseArea {
                    anchors.fill: parent
                    cursorShape: Qt.PointingHandCursor
                    onClicked: row.currentIndex = index
                }
            }
        }
    }
}
