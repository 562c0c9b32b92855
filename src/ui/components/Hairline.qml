import QtQuick
import QtQuick.Layouts
import Tessoly

// A one-pixel rule between rows or sections.
Rectangle {
    Layout.fillWidth: true
    implicitHeight: 1
    color: Theme.hairline
}
