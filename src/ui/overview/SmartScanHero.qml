import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// The Smart Scan panel: an invitation to the first scan, its progress, and
// afterwards what the session has found and reclaimed.
Card {
    id: hero
    objectName: "smartScanHero"
    property var smartScan: Services.smartScan
    readonly property bool scanned: smartScan.hasScanned
    readonly property bool scanning: smartScan.isScanning
    padding: 24

    // The summary's parts: "3 recommendations", "reclaimed 2 GB this session", "1 GB waiting in Trash".
    readonly property var summaryParts: {
        const count = smartScan.visibleRecommendations.length
        const parts = [count + (count === 1 ? " recommendation" : " recommendations")]
        if (smartScan.totalReclaimedThisSession >= 1)
            parts.push("reclaimed " + Format.bytes(smartScan.totalReclaimedThisSession) + " this session")
        if (smartScan.totalPendingInTrash >= 1)
            parts.push(Format.bytes(smartScan.totalPendingInTrash) + " waiting in Trash")
        return parts
    }

    RowLayout {
        width: parent.width
        spacing: 16

        Rectangle {
            Layout.alignment: Qt.AlignTop
            implicitWidth: 48; implicitHeight: 48; radius: 14
            gradient: Gradient {
                orientation: Gradient.Horizontal
                GradientStop { position: 0; color: Theme.indigo }
                GradientStop { position: 1; color: Theme.violet }
            }
            Icon {
                anchors.centerIn: parent
                name: hero.scanned ? "checkmark.seal.fill" : "sparkles"
                size: 24
                color: Theme.onAccent
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 4
            Title {
                objectName: "heroHeadline"
                Layout.fillWidth: true
                text: hero.scanned ? "Smart Scan complete"
                    : hero.scanning ? "Smart Scan in progress…" : "Run a Smart Scan"
                wrapMode: Text.WordWrap
            }
            Body {
                objectName: "heroBody"
                Layout.fillWidth: true
                visible: !hero.scanned
                text: hero.scanning ? hero.smartScan.scanProgress
                    : "About 30 seconds. Tessoly finds everything safe to clean up and suggests what to do."
                wrapMode: Text.WordWrap
            }
            // Joined by " · "; a narrow panel wraps between parts, never inside one.
            Flow {
                objectName: "heroSummary"
                readonly property string text: hero.summaryParts.join(" · ")
                Layout.fillWidth: true
                visible: hero.scanned
                Repeater {
                    model: hero.summaryParts
                    delegate: Body {
                        required property string modelData
                        required property int index
                        text: modelData + (index < hero.summaryParts.length - 1 ? " · " : "")
                    }
                }
            }
            Caption {
                objectName: "heroRescanProgress"
                Layout.fillWidth: true
                visible: hero.scanned && hero.scanning
                text: hero.smartScan.scanProgress
                elide: Text.ElideRight
            }
        }

        Spinner {
            objectName: "heroBusy"
            Layout.alignment: Qt.AlignVCenter
            visible: hero.scanning
        }

        AppButton {
            objectName: "startSmartScan"
            Layout.alignment: Qt.AlignVCenter
            visible: !hero.scanned
            kind: "primary"
            iconName: "sparkles"
            text: hero.scanning ? "Scanning…" : "Start Smart Scan"
            enabled: !hero.scanning
            onClicked: hero.smartScan.startScan()
        }

        AppButton {
            objectName: "rescan"
            Layout.alignment: Qt.AlignVCenter
            visible: hero.scanned
            iconName: "arrow.clockwise"
            text: "Re-scan"
            enabled: !hero.scanning
            onClicked: hero.smartScan.startScan()
        }
    }
}
