import QtQuick
import QtQuick.Layouts
import Tessoly

// A screen's title and the line under it.
ColumnLayout {
    property string title
    property string subtitle
    spacing: 4
    Text {
        text: title
        font.family: Theme.fontFamily
        font.pixelSize: Theme.titleSize
        font.weight: Font.Bold
        color: Theme.text
    }
    Body {
        Layout.fillWidth: true
        visible: subtitle !== ""
        text: subtitle
        wrapMode: Text.WordWrap
        color: Theme.tertiaryText
    }
}
