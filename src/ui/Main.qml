import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// The one window.
ApplicationWindow {
    id: window
    width: 1240
    height: 800
    minimumWidth: 980
    minimumHeight: 640
    visible: true
    title: "Tessoly"
    color: Theme.page
    font.family: Theme.fontFamily

    // Until the Easy screen exists, both interface modes show the full shell.
    Shell { anchors.fill: parent }
}
