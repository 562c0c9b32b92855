import QtQuick
import QtQuick.Layouts
import Tessoly

// A setting that is on or off: its label, an optional hint, the switch.
// `toggled` reports the person's change; `checked` follows the setting.
RowLayout {
    id: row
    property string label
    property string hint
    property bool checked
    readonly property alias control: toggle
    signal toggled(bool on)

    Layout.fillWidth: true
    spacing: 16

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 3
        Text {
            objectName: "toggleLabel"
            Layout.fillWidth: true
            text: row.label
            wrapMode: Text.WordWrap
            font.family: Theme.fontFamily
            font.pixelSize: Theme.bodySize + 1
            color: Theme.text
        }
        Caption {
            objectName: "toggleHint"
            Layout.fillWidth: true
            visible: row.hint !== ""
            text: row.hint
            wrapMode: Text.WordWrap
        }
    }
    AppSwitch {
        id: toggle
        objectName: "switch"
        Layout.alignment: Qt.AlignVCenter
        checked: row.checked
        onToggled: row.toggled(checked)
    }
}
