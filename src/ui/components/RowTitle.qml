import QtQuick
import Tessoly

// The name of a row or a card.
Text {
    font.family: Theme.fontFamily
    font.pixelSize: Theme.rowTitleSize
    font.weight: Font.DemiBold
    color: Theme.text
}
