import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Tessoly

// The welcome tour: ten cards in a sheet over the window, shown while the
// onboarding state says so. Finishing stores that the tour was completed;
// closing it any other way (Escape) only hides it, so it returns next launch.
Popup {
    id: tour
    objectName: "onboarding"
    readonly property QtObject onboarding: Services.onboarding
    property int index: 0
    property string direction: "forward" // or "backward": where the next card comes from
    readonly property bool first: index === 0
    readonly property bool last: index === steps.length - 1
    readonly property alias stack: cards

    // icon "" stands for the brand mark.
    readonly property var steps: [
        { id: 0, icon: "", accent: Theme.indigo,
          title: "Welcome to Tessoly",
          body: "Tessoly helps you understand where your Mac's storage went — and reclaim it safely.\n\nHere's a one-minute tour of everything it can do." },
        { id: 1, icon: "sparkles", accent: Theme.violet,
          title: "One button does it all",
          body: "Tessoly starts in Easy Mode: one screen, one big \"Free Up Space\" button.\n\nClick it and Tessoly finds and clears only what's safe — caches and leftovers your apps rebuild automatically — then shows you exactly how much space came back." },
        { id: 2, icon: "slider.horizontal.3", accent: Theme.blue,
          title: "Want more control? It's all there",
          body: "Click \"Show me everything\" to open the full app, with a tool for each job.\n\nEverything in the next few cards lives there. You can switch between Easy and Full any time in Settings." },
        { id: 3, icon: "sparkles.rectangle.stack", accent: Theme.purple,
          title: "Smart Scan recommends, you decide",
          body: "The Overview tab scans your Mac and shows ranked recommendation cards — \"Clear Xcode leftovers, 3.5 GB\" — each marked Safe, Caution, or Advanced.\n\nApply the ones you like. Skip the rest. Every card explains itself." },
        { id: 4, icon: "rays", accent: Theme.orange,
          title: "X-Ray the mystery \"System Data\"",
          body: "Apple's storage settings lump gigabytes into one unexplained number. The X-Ray tab decodes it: caches, logs, old iPhone backups, hidden snapshots — what each one is, and what's safe to do about it." },
        { id: 5, icon: "externaldrive.badge.plus", accent: Theme.teal,
          title: "Move it, don't delete it",
          body: "Big folders you want to keep — just not on your Mac? Tessoly moves them to your external drive and leaves a shortcut behind, so your apps don't notice anything changed.\n\nIt even suggests what's worth moving: big folders nothing has touched in months. One click brings anything back." },
        { id: 6, icon: "wrench.and.screwdriver", accent: Theme.cyan,
          title: "For developers: the deep clean",
          body: "node_modules from abandoned projects, Docker images nothing uses, iOS simulators for versions you stopped testing.\n\nThe Dev Clean tab finds all of it — routinely 20 to 100 GB — and clears it safely. Everything rebuilds on demand." },
        { id: 7, icon: "autostartstop", accent: Theme.accentTint,
          title: "Autopilot keeps it that way",
          body: "Set a guardrail — \"keep 20 GB free\" — and Tessoly watches your disk in the background. When space runs low it clears safe caches automatically and tells you what it reclaimed.\n\nThe cleaner you never have to open." },
        { id: 8, icon: "clock.arrow.circlepath", accent: Theme.yellow,
          title: "Nothing is ever truly gone",
          body: "Every cleanup is logged in History. Review exactly what was moved or deleted — and put any of it back with one click.\n\nTessoly uses the Trash, never permanent deletion, unless you turn that on yourself." },
        { id: 9, icon: "checkmark.seal.fill", accent: Theme.green,
          title: "You're all set",
          body: "Click the big button to run your first cleanup.\n\nYou can re-open this tour any time from the Help menu." }
    ]

    // One step back or forward, the card sliding in from that side.
    function go(delta) {
        const next = Math.max(0, Math.min(steps.length - 1, index + delta))
        if (next === index)
            return
        direction = delta < 0 ? "backward" : "forward"
        index = next
        cards.replace(null, cardComponent, { step: steps[next] },
                      Theme.reduceMotion ? StackView.Immediate : StackView.ReplaceTransition)
    }
    function finish() {
        Services.finishOnboarding()
    }

    Connections {
        target: tour.onboarding
        function onIsShowingChanged() {
            if (tour.onboarding.isShowing)
                tour.open()
            else
                tour.close()
        }
    }
    Component.onCompleted: if (onboarding.isShowing) open()
    // Every opening starts at the first card.
    onAboutToShow: {
        index = 0
        direction = "forward"
        cards.replace(null, cardComponent, { step: steps[0] }, StackView.Immediate)
    }
    // Escape hides the tour without marking it done.
    onClosed: if (onboarding.isShowing) onboarding.isShowing = false

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(600, parent ? parent.width - 64 : 600)
    height: Math.min(520, parent ? parent.height - 40 : 520)
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    padding: 0

    T.Overlay.modal: Rectangle { color: Theme.scrim }
    enter: Transition {
        ParallelAnimation {
            NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.panelMs; easing.type: Easing.OutCubic }
            NumberAnimation { property: "scale"; from: 0.96; to: 1; duration: Theme.panelMs; easing.type: Easing.OutCubic }
        }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.fastMs }
    }

    background: Item {
        Rectangle { // shadow
            anchors.fill: parent
            anchors.topMargin: 8
            anchors.bottomMargin: -10
            anchors.leftMargin: 4
            anchors.rightMargin: 4
            radius: 24
            color: Theme.shadow
        }
        Rectangle {
            anchors.fill: parent
            radius: 20
            color: Theme.card
            border.color: Theme.hairline
        }
    }

    Component {
        id: cardComponent
        Item {
            id: card
            property var step: ({ id: 0, icon: "", accent: Theme.indigo, title: "", body: "" })
            objectName: "tourCard"

            // Pinned from the top, so that symbol and title keep their place
            // from card to card whatever the length of the text below.
            ColumnLayout {
                anchors.top: parent.top
                anchors.topMargin: Math.max(12, (parent.height - 260) / 2)
                anchors.horizontalCenter: parent.horizontalCenter
                width: parent.width - 80
                spacing: 0

                Item {
                    Layout.alignment: Qt.AlignHCenter
                    implicitWidth: 84
                    implicitHeight: 84
                    BrandMark {
                        objectName: "tourBrandMark"
                        anchors.centerIn: parent
                        visible: card.step.icon === ""
                        size: 80
                    }
                    Rectangle {
                        objectName: "tourIcon"
                        anchors.centerIn: parent
                        visible: card.step.icon !== ""
                        width: 80; height: 80; radius: 24
                        color: Theme.pale(card.step.accent, 0.14)
                        border.color: Theme.pale(card.step.accent, 0.22)
                        Icon { anchors.centerIn: parent; name: card.step.icon; size: 42; color: card.step.accent }
                    }
                }
                Text {
                    objectName: "tourTitle"
                    Layout.fillWidth: true
                    Layout.topMargin: 24
                    text: card.step.title
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    font.family: Theme.fontFamily
                    font.pixelSize: 24
                    font.weight: Font.Bold
                    color: Theme.text
                }
                Text {
                    objectName: "tourBody"
                    Layout.fillWidth: true
                    Layout.topMargin: 12
                    text: card.step.body
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    lineHeight: 1.2
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    color: Theme.secondaryText
                }
            }
        }
    }

    contentItem: ColumnLayout {
        spacing: 0

        StackView {
            id: cards
            objectName: "tourCards"
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: 16
            clip: true

            // A soft spring: the new card slides in from the side it comes
            // from while the old one leaves on the other.
            readonly property real travel: tour.direction === "forward" ? width : -width
            replaceEnter: Transition {
                ParallelAnimation {
                    NumberAnimation { property: "x"; from: cards.travel; to: 0; duration: 450; easing.type: Easing.OutBack; easing.overshoot: 0.6 }
                    NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 300; easing.type: Easing.OutCubic }
                }
            }
            replaceExit: Transition {
                ParallelAnimation {
                    NumberAnimation { property: "x"; from: 0; to: -cards.travel; duration: 450; easing.type: Easing.OutCubic }
                    NumberAnimation { property: "opacity"; from: 1; to: 0; duration: 250; easing.type: Easing.OutCubic }
                }
            }
        }

        Row {
            objectName: "pageDots"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            spacing: 6
            Repeater {
                model: tour.steps.length
                delegate: Rectangle {
                    required property int index
                    objectName: "dot_" + index
                    width: index === tour.index ? 18 : 6
                    height: 6
                    radius: 3
                    color: index === tour.index ? tour.steps[tour.index].accent : Theme.hairline
                    Behavior on width { NumberAnimation { duration: Theme.fastMs; easing.type: Easing.OutCubic } }
                    Behavior on color { ColorAnimation { duration: Theme.fastMs } }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 24
            Layout.topMargin: 20
            spacing: 8

            AppButton {
                objectName: "tourLeft"
                kind: tour.first ? "plain" : "secondary"
                iconName: tour.first ? "" : "chevron.left"
                text: tour.first ? "Skip tour" : "Back"
                onClicked: tour.first ? tour.finish() : tour.go(-1)
            }
            AppButton {
                objectName: "tourSkip"
                kind: "plain"
                visible: !tour.last
                text: "Skip"
                onClicked: tour.finish()
            }
            Item { Layout.fillWidth: true }
            AppButton {
                objectName: "tourForward"
                kind: "primary"
                iconName: tour.first || tour.last ? "" : "chevron.right"
                iconTrailing: true
                text: tour.first ? "Show me around" : tour.last ? "Start scanning" : "Next"
                onClicked: tour.last ? tour.finish() : tour.go(1)
            }
        }
    }
}
