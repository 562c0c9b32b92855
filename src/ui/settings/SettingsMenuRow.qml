import QtQuick
import QtQuick.Layouts
import Tessoly

// A setting chosen from a menu: its label on the left, the menu on the right.
// `chosen` reports the person's choice; `value` follows the setting.
RowLayout {
    id: row
    property string label
    property var options: []
    property var value
    readonly property alias menu: combo
    signal chosen(var value)
    default property alias extra: trailing.data // more controls after the menu

    Layout.fillWidth: true
    spacing: 12

    Text {
        objectName: "menuLabel"
        Layout.fillWidth: true
        text: row.label
        wrapMode: Text.WordWrap
        font.family: Theme.fontFamily
        font.pixelSize: Theme.bodySize + 1
        color: Theme.text
    }
    AppComboBox {
        id: combo
        objectName: "menu"
        Layout.minimumWidth: 170
        options: row.options
        value: row.value
        onChosen: value => row.chosen(value)
    }
    RowLayout {
        id: trailing
        visible: children.length > 0
        spacing: 8
    }
}
