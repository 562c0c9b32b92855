import QtQuick
import Tessoly

// A symbol by its name in the Icons table.
Text {
    property string name
    property int size: 18
    text: Icons.glyph(name)
    font.family: Theme.iconFamily
    font.pixelSize: size
    color: Theme.secondaryText
    verticalAlignment: Text.AlignVCenter
    horizontalAlignment: Text.AlignHCenter
    renderType: Text.QtRendering
}
