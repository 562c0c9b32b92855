import QtQuick
import Tessoly

// The title of a section.
Text {
    font.family: Theme.fontFamily
    font.pixelSize: Theme.headingSize
    font.weight: Font.Bold
    color: Theme.text
}
