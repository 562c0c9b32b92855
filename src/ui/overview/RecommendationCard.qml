import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Tessoly

// One Smart Scan recommendation: what it is, how risky, what it saves, and
// the line of controls that follows the card's apply status.
Card {
    id: card
    // {id, kind, title, oneLiner, explanation, estimatedSavings, risk, riskLabel, icon, tint, hasAction}
    property var recommendation: ({})
    property var smartScan: Services.smartScan
    // {state, text} while the card is applied, else undefined.
    readonly property var status: smartScan.applyStatuses[recommendation.id]
    readonly property string phase: status === undefined ? "" : status.state
    property bool showingExplanation: false
    readonly property color tint: Theme.tint(recommendation.tint)
    padding: 20

    onShowingExplanationChanged: showingExplanation ? explanation.open() : explanation.close()

    ColumnLayout {
        width: parent.width
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            spacing: 14

            Rectangle {
                objectName: "cardIconSquare"
                Layout.alignment: Qt.AlignTop
                implicitWidth: 44; implicitHeight: 44; radius: 12
                color: Theme.pale(card.tint)
                Icon {
                    objectName: "cardIcon"
                    anchors.centerIn: parent
                    name: card.recommendation.icon
                    size: 22
                    color: card.tint
                }
            }

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                Text {
                    objectName: "cardTitle"
                    Layout.fillWidth: true
                    text: card.recommendation.title
                    wrapMode: Text.WordWrap
                    font.family: Theme.fontFamily
                    font.pixelSize: 15
                    font.weight: Font.DemiBold
                    color: Theme.text
                }
                Body {
                    objectName: "cardOneLiner"
                    Layout.fillWidth: true
                    text: card.recommendation.oneLiner
                    wrapMode: Text.WordWrap
                }
                Rectangle {
                    objectName: "riskBadge"
                    Layout.topMargin: 2
                    readonly property color colour: Theme.riskColor(card.recommendation.risk)
                    implicitWidth: riskLabel.implicitWidth + 14
                    implicitHeight: 20
                    radius: 10
                    color: Theme.pale(colour)
                    Text {
                        id: riskLabel
                        objectName: "riskLabel"
                        anchors.centerIn: parent
                        text: card.recommendation.riskLabel
                        font.family: Theme.fontFamily
                        font.pixelSize: 11
                        font.weight: Font.DemiBold
                        color: parent.colour
                    }
                }
            }

            ColumnLayout {
                objectName: "savingsBox"
                Layout.alignment: Qt.AlignTop
                visible: card.recommendation.estimatedSavings > 0
                spacing: 0
                Text {
                    objectName: "savings"
                    Layout.alignment: Qt.AlignRight
                    text: Format.bytes(card.recommendation.estimatedSavings)
                    font.family: Theme.fontFamily
                    font.pixelSize: 18
                    font.weight: Font.Bold
                    color: Theme.text
                }
                Caption {
                    objectName: "savingsCaption"
                    Layout.alignment: Qt.AlignRight
                    text: "est. savings"
                }
            }
        }

        Hairline {} // over the line of controls

        RowLayout {
            objectName: "controlLine"
            Layout.fillWidth: true
            spacing: 10

            Spinner {
                objectName: "statusBusy"
                visible: card.phase === "running"
            }
            Icon {
                objectName: "statusIcon"
                Layout.alignment: Qt.AlignVCenter
                visible: card.phase === "succeeded" || card.phase === "failed"
                name: card.phase === "failed" ? "exclamationmark.triangle.fill" : "checkmark.circle.fill"
                size: 18
                color: card.phase === "failed" ? Theme.orange : Theme.green
            }
            Body {
                objectName: "statusText"
                Layout.fillWidth: true
                visible: card.phase !== ""
                text: card.status === undefined ? "" : card.status.text
                wrapMode: Text.WordWrap
                font.weight: card.phase === "running" ? Font.Normal : Font.Medium
                color: card.phase === "failed" ? Theme.text
                     : card.phase === "succeeded" ? Theme.green : Theme.secondaryText
            }
            Item { // pushes the controls to the right when there is no status
                Layout.fillWidth: true
                visible: card.phase === ""
            }

            RowLayout {
                objectName: "controls"
                Layout.alignment: Qt.AlignVCenter
                visible: card.phase === "" || card.phase === "failed"
                spacing: 8
                AppButton {
                    objectName: "whyButton"
                    kind: "plain"
                    iconName: "questionmark.circle"
                    text: "Why?"
                    onClicked: card.showingExplanation = true
                }
                AppButton {
                    objectName: "skipButton"
                    visible: card.recommendation.hasAction === true
                    text: "Skip"
                    onClicked: card.smartScan.skipById(card.recommendation.id)
                }
                AppButton {
                    objectName: "applyButton"
                    visible: card.recommendation.hasAction === true
                    kind: "primary"
                    iconName: card.phase === "failed" ? "arrow.clockwise" : "sparkles"
                    text: card.phase === "failed" ? "Retry" : card.phase === "running" ? "Applying" : "Apply"
                    enabled: card.phase !== "running"
                    onClicked: card.smartScan.applyById(card.recommendation.id)
                }
                AppButton {
                    objectName: "gotItButton"
                    visible: card.recommendation.hasAction !== true
                    kind: "primary"
                    text: "Got it"
                    onClicked: card.smartScan.skipById(card.recommendation.id)
                }
            }
        }
    }

    // "Why?": the card's explanation in a sheet of its own.
    Dialog {
        id: explanation
        objectName: "explanationSheet"
        parent: T.Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: Math.min(480, parent ? parent.width - 48 : 480)
        padding: 24
        closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
        onClosed: card.showingExplanation = false
        background: Rectangle {
            radius: Theme.radius
            color: Theme.card
            border.color: Theme.hairline
        }

        contentItem: ColumnLayout {
            spacing: 12
            RowLayout {
                Layout.fillWidth: true
                spacing: 10
                Rectangle {
                    implicitWidth: 32; implicitHeight: 32; radius: 10
                    color: Theme.pale(card.tint)
                    Icon { anchors.centerIn: parent; name: card.recommendation.icon; size: 18; color: card.tint }
                }
                Heading {
                    objectName: "explanationTitle"
                    Layout.fillWidth: true
                    text: card.recommendation.title
                    wrapMode: Text.WordWrap
                }
            }
            Body {
                objectName: "explanationText"
                Layout.fillWidth: true
                text: card.recommendation.explanation
                wrapMode: Text.WordWrap
                lineHeight: 1.15
            }
            AppButton {
                objectName: "closeExplanation"
                Layout.alignment: Qt.AlignRight
                Layout.topMargin: 4
                kind: "primary"
                text: "Close"
                onClicked: explanation.close()
            }
        }
    }
}
