import QtQuick
import QtQuick.Layouts
import Tessoly

// The result of the last applied card, floating over the page; it goes
// away 3.5 s after it appeared.
Item {
    id: toast
    objectName: "toast"
    property var smartScan: Services.smartScan
    readonly property var current: smartScan.lastToast
    readonly property bool shown: current.id !== undefined
    // The toast on show, kept while it fades out.
    property string title: ""
    property bool success: true
    // The widest the toast may grow; the page sets it from its own width.
    property real maximumWidth: 560

    implicitWidth: pill.implicitWidth
    implicitHeight: pill.implicitHeight
    visible: shown || fade.running
    opacity: shown ? 1 : 0
    Behavior on opacity { NumberAnimation { id: fade; duration: Theme.fastMs } }

    ToastTimer {
        smartScan: toast.smartScan
        onAppeared: (title, success) => {
            toast.title = title
            toast.success = success
        }
    }

    Rectangle { // soft shadow
        anchors.fill: pill
        anchors.topMargin: 3
        anchors.bottomMargin: -3
        radius: pill.radius
        color: Theme.shadow
        opacity: 0.8
    }
    Rectangle {
        id: pill
        width: toast.width
        implicitWidth: Math.min(row.implicitWidth, toast.maximumWidth) + 36
        implicitHeight: Math.max(44, row.implicitHeight + 22)
        radius: Theme.radius
        color: Theme.card
        border.color: Theme.hairline

        RowLayout {
            id: row
            anchors.fill: parent
            anchors.leftMargin: 18
            anchors.rightMargin: 18
            spacing: 10
            Icon {
                objectName: "toastIcon"
                name: toast.success ? "checkmark.circle.fill" : "exclamationmark.triangle.fill"
                size: 20
                color: toast.success ? Theme.green : Theme.orange
            }
            Body {
                objectName: "toastTitle"
                Layout.fillWidth: true
                Layout.maximumWidth: toast.maximumWidth - 30
                text: toast.title
                wrapMode: Text.WordWrap
                font.weight: Font.Medium
                color: Theme.text
            }
        }
    }
}
