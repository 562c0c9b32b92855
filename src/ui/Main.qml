import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Window
import Tessoly

// The one window.
ApplicationWindow {
    id: window
    // Comfortable by default, never larger than the screen.
    width: Math.max(minimumWidth, Math.min(1240, Screen.desktopAvailableWidth))
    height: Math.max(minimumHeight, Math.min(800, Screen.desktopAvailableHeight))
    minimumWidth: 980
    minimumHeight: 640
    visible: true
    title: "Tessoly"
    color: Theme.page
    font.family: Theme.fontFamily

    menuBar: AppMenuBar {}

    ContentView { anchors.fill: parent }
}
