import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// The window's menus: exporting the storage report, closing the window and quitting under File,
// the welcome tour under Help.
MenuBar {
    id: bar
    objectName: "menuBar"
    font.family: Theme.fontFamily
    font.pixelSize: Theme.bodySize

    // A menu in the app's colours, its entries showing their shortcuts.
    component AppMenu: Menu {
        id: menu
        topPadding: 5
        bottomPadding: 5
        font.family: Theme.fontFamily
        font.pixelSize: Theme.bodySize
        // (an explicit Component: an inline component's delegate isn't wrapped in one for us)
        delegate: Component {
            MenuItem {
                id: entry
                objectName: "menuItem_" + text
                implicitWidth: 300
                implicitHeight: 30
                leftPadding: 14
                rightPadding: 14
                contentItem: Item {
                    implicitHeight: label.implicitHeight
                    Text {
                        id: label
                        anchors.left: parent.left
                        anchors.verticalCenter: parent.verticalCenter
                        text: entry.text
                        font: entry.font
                        color: entry.highlighted ? Theme.onAccent : Theme.text
                        opacity: entry.enabled ? 1 : 0.45
                    }
                    Text {
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        text: entry.action && entry.action.shortcut ? entry.action.shortcut.toString() : ""
                        font: entry.font
                        color: entry.highlighted ? Theme.onAccent : Theme.mutedText
                    }
                }
                background: Rectangle {
                    anchors.fill: parent
                    anchors.leftMargin: 5
                    anchors.rightMargin: 5
                    radius: 6
                    color: entry.highlighted ? Theme.accentTint : "transparent"
                }
            }
        }
        background: Rectangle {
            implicitWidth: 300
            radius: Theme.smallRadius
            color: Theme.card
            border.color: Theme.hairline
            Rectangle { // soft shadow
                z: -1
                anchors.fill: parent
                anchors.topMargin: 3
                anchors.bottomMargin: -4
                radius: parent.radius
                color: Theme.shadow
            }
        }
    }
    component AppMenuSeparator: MenuSeparator {
        topPadding: 4
        bottomPadding: 4
        contentItem: Rectangle { implicitWidth: 280; implicitHeight: 1; color: Theme.hairline }
    }

    delegate: MenuBarItem {
        id: title
        objectName: "menuTitle_" + text
        leftPadding: 10
        rightPadding: 10
        topPadding: 5
        bottomPadding: 5
        contentItem: Text {
            text: title.text
            font: title.font
            color: Theme.text
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            implicitHeight: 26
            radius: 6
            color: title.highlighted || title.menu.visible ? Theme.selection : "transparent"
        }
    }
    background: Rectangle {
        implicitHeight: 30
        color: Theme.card
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.hairline
        }
    }
    leftPadding: 6
    topPadding: 2
    bottomPadding: 2

    AppMenu {
        objectName: "fileMenu"
        title: "File"
        Action {
            objectName: "exportReportAction"
            text: "Export Storage Report…"
            shortcut: "Ctrl+Shift+E"
            onTriggered: Services.exportReport()
        }
        AppMenuSeparator {}
        Action {
            objectName: "closeWindowAction"
            text: "Close Window"
            shortcut: "Ctrl+W"
            // With the tray item shown, Tessoly keeps running without its window.
            onTriggered: bar.Window.window.close()
        }
        Action {
            objectName: "quitAction"
            text: "Quit Tessoly"
            shortcut: "Ctrl+Q"
            onTriggered: Qt.quit()
        }
    }
    AppMenu {
        objectName: "helpMenu"
        title: "Help"
        Action {
            objectName: "welcomeTourAction"
            text: "Show Welcome Tour"
            // Already open: nothing changes (the tour keeps its card).
            onTriggered: Services.onboarding.isShowing = true
        }
    }
}
