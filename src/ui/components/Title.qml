import QtQuick
import Tessoly

// The title of a card or a sheet, above its headings.
Text {
    font.family: Theme.fontFamily
    font.pixelSize: Theme.sectionTitleSize
    font.weight: Font.Bold
    color: Theme.text
}
