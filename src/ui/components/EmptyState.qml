import QtQuick
import QtQuick.Layouts
import Tessoly

// A centred symbol, a title and one line of help.
ColumnLayout {
    property string iconName
    property string title
    property string message
    spacing: 8

    Rectangle {
        Layout.alignment: Qt.AlignHCenter
        implicitWidth: 64; implicitHeight: 64; radius: 20
        color: Theme.selection
        Icon { anchors.centerIn: parent; name: iconName; size: 32; color: Theme.indigo }
    }
    Text {
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 6
        text: title
        font.family: Theme.fontFamily
        font.pixelSize: Theme.headingSize
        font.weight: Font.DemiBold
        color: Theme.text
    }
    Body {
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: 420
        text: message
        wrapMode: Text.WordWrap
        horizontalAlignment: Text.AlignHCenter
        color: Theme.tertiaryText
    }
}
