import QtQuick
import Tessoly

// Small print under a row or a figure: sizes, paths, times.
Text {
    font.family: Theme.fontFamily
    font.pixelSize: Theme.smallSize
    color: Theme.tertiaryText
}
