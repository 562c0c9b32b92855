import QtQuick
import Tessoly

// Running text: explanations and the words of an outcome.
Text {
    font.family: Theme.fontFamily
    font.pixelSize: Theme.bodySize
    color: Theme.secondaryText
}
