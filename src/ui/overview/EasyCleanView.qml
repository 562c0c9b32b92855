import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The whole program for one button: the disk meter, a safe clean in one
// go, and what it really gave back. The way to the full app is at the foot.
Item {
    id: easy
    objectName: "easyCleanView"
    property var scanner: Services.scanner
    property var flow: Services.easyClean
    readonly property real fraction: scanner.totalCapacity < 1 ? 0 : scanner.totalUsed / scanner.totalCapacity
    readonly property bool running: flow.phase === "running"
    // A face built anew starts at idle: it tells only the outcome of a run it has seen.
    property bool sawRun: false
    readonly property bool done: flow.phase === "done" && sawRun

    Component.onCompleted: {
        sawRun = running
        scanner.refreshVolumeInfo()
    }
    Connections {
        target: easy.flow
        function onPhaseChanged() {
            if (easy.running)
                easy.sawRun = true
        }
    }
    // The flow's cards make toasts this face doesn't show; they expire here too.
    ToastTimer {}

    Rectangle { // soft page gradient
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: Theme.pageTint }
            GradientStop { position: 0.55; color: Theme.page }
            GradientStop { position: 1; color: Theme.page }
        }
    }

    RowLayout { // brand
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.margins: 24
        spacing: 10
        BrandMark { size: 30; rocking: false }
        Text {
            text: "Tessoly"
            font.family: Theme.fontFamily
            font.pixelSize: 15
            font.weight: Font.Bold
            color: Theme.text
        }
    }

    // The meter, the words and the button, centred above the foot.
    Item {
        id: stage
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: foot.top
        anchors.topMargin: 56

        ColumnLayout {
            id: column
            anchors.centerIn: parent
            width: Math.min(560, easy.width - 2 * Theme.pageMargin)
            spacing: 0

            DiskRing {
                objectName: "easyMeter"
                Layout.alignment: Qt.AlignHCenter
                readonly property int side: Math.round(Math.max(140, Math.min(196, easy.height * 0.27)))
                Layout.preferredWidth: side
                Layout.preferredHeight: side
                fraction: easy.fraction

                Column {
                    anchors.centerIn: parent
                    spacing: 0
                    Text {
                        objectName: "easyUsedPercent"
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: Math.floor(easy.fraction * 100) + "%"
                        font.family: Theme.fontFamily
                        font.pixelSize: 38
                        font.weight: Font.Bold
                        color: Theme.text
                    }
                    Body {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: "used"
                        color: Theme.tertiaryText
                    }
                }
            }

            Text {
                objectName: "easyFreeLine"
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 16
                text: Format.bytes(easy.scanner.totalFree) + " free of " + Format.bytes(easy.scanner.totalCapacity)
                font.family: Theme.fontFamily
                font.pixelSize: Theme.headingSize + 2
                font.weight: Font.DemiBold
                color: Theme.text
            }

            // What is going on: the invitation, the step, or the outcome.
            Item {
                Layout.fillWidth: true
                Layout.topMargin: 18
                implicitHeight: Math.max(44, easy.done ? outcome.implicitHeight
                                               : easy.running ? step.implicitHeight : invitation.implicitHeight)

                Text {
                    id: invitation
                    objectName: "easyIdleText"
                    width: parent.width
                    visible: !easy.running && !easy.done
                    text: "One click. Tessoly finds and clears only what's safe —\nyou'll see exactly what happened when it's done."
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    lineHeight: 1.2
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    color: Theme.tertiaryText
                }

                Text {
                    id: step
                    objectName: "easyStep"
                    width: parent.width
                    visible: easy.running
                    text: easy.flow.step
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    font.weight: Font.Medium
                    color: Theme.secondaryText
                }

                ColumnLayout {
                    id: outcome
                    objectName: "easyOutcome"
                    width: parent.width
                    visible: easy.done
                    spacing: 10
                    transform: outcomeRise.shift
                    RiseIn { id: outcomeRise; target: outcome }
                    onVisibleChanged: if (visible) outcomeRise.enter()

                    RowLayout {
                        objectName: "freedBlock"
                        Layout.alignment: Qt.AlignHCenter
                        visible: easy.flow.freedNow >= 1
                        spacing: 8
                        Icon { name: "checkmark.circle.fill"; size: 22; color: Theme.green }
                        Text {
                            objectName: "freedText"
                            text: "Freed " + Format.bytes(easy.flow.freedNow) + " on your disk."
                            font.family: Theme.fontFamily
                            font.pixelSize: 15
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                    }
                    RowLayout {
                        objectName: "trashBlock"
                        Layout.alignment: Qt.AlignHCenter
                        visible: easy.flow.inTrash >= 1
                        spacing: 12
                        Text {
                            objectName: "trashText"
                            text: "Another " + Format.bytes(easy.flow.inTrash) + " is waiting in the Trash."
                            font.family: Theme.fontFamily
                            font.pixelSize: 14
                            color: Theme.secondaryText
                        }
                        AppButton {
                            objectName: "showTrash"
                            iconName: "trash"
                            text: "Show me the Trash"
                            onClicked: Services.revealTrash()
                        }
                    }
                    RowLayout {
                        objectName: "cleanBlock"
                        Layout.alignment: Qt.AlignHCenter
                        visible: easy.flow.freedNow < 1 && easy.flow.inTrash < 1
                        spacing: 8
                        Icon { name: "checkmark.seal.fill"; size: 22; color: Theme.green }
                        Text {
                            objectName: "cleanText"
                            text: "Your Mac is already clean — nothing safe needed clearing."
                            font.family: Theme.fontFamily
                            font.pixelSize: 15
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                    }
                }
            }

            Button {
                id: mainButton
                objectName: "easyMainButton"
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 22
                text: easy.running ? "Working…" : easy.done ? "Clean Again" : "Free Up Space"
                enabled: !easy.running
                scale: easy.running ? 0.98 : 1
                Behavior on scale { NumberAnimation { duration: Theme.fastMs } }
                hoverEnabled: true
                leftPadding: 32
                rightPadding: 32
                font.family: Theme.fontFamily
                font.pixelSize: 16
                font.weight: Font.Bold
                onClicked: easy.flow.start()

                contentItem: Item {
                    implicitWidth: buttonFace.implicitWidth
                    implicitHeight: buttonFace.implicitHeight
                    Row {
                        id: buttonFace
                        anchors.centerIn: parent
                        spacing: 8
                        Spinner {
                            objectName: "easyBusy"
                            visible: easy.running
                            colour: Theme.onAccent
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Icon {
                            visible: !easy.running
                            name: "sparkles"
                            size: 20
                            color: Theme.onAccent
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Text {
                            text: mainButton.text
                            font: mainButton.font
                            color: Theme.onAccent
                            anchors.verticalCenter: parent.verticalCenter
                        }
                    }
                }
                background: Rectangle {
                    implicitWidth: 260
                    implicitHeight: 54
                    radius: height / 2
                    opacity: !mainButton.enabled ? 0.85 : mainButton.down ? 0.9 : 1
                    gradient: Gradient {
                        orientation: Gradient.Horizontal
                        GradientStop { position: 0; color: Theme.indigo }
                        GradientStop { position: 1; color: Theme.violet }
                    }
                    Rectangle { // hover sheen
                        anchors.fill: parent
                        radius: parent.radius
                        color: Theme.onAccent
                        opacity: mainButton.hovered && mainButton.enabled ? 0.08 : 0
                    }
                }
            }
        }
    }

    ColumnLayout {
        id: foot
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 20
        width: Math.min(560, easy.width - 2 * Theme.pageMargin)
        spacing: 2

        AppButton {
            objectName: "showEverything"
            Layout.alignment: Qt.AlignHCenter
            kind: "plain"
            iconName: "slider.horizontal.3"
            text: "Show me everything"
            onClicked: Services.settings.interfaceMode = "advanced"
        }
        Caption {
            objectName: "showEverythingHint"
            Layout.fillWidth: true
            text: "Switch to the full app with every tool — you can come back to this view from Settings."
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
        }
    }
}
