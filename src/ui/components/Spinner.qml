import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// A small busy indicator in a colour of the theme.
BusyIndicator {
    property color colour: Theme.indigo
    padding: 1
    implicitWidth: 20
    implicitHeight: 20
    running: visible
    palette.dark: colour
}
