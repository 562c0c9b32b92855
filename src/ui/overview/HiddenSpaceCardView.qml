import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Tessoly

// Space the system calls available but still holds, and the way to get it back.
Card {
    id: card
    property var model: Services.hiddenSpace
    property bool explaining: false
    visible: model.isShown
    padding: 24

    Component.onCompleted: model.appear()

    ColumnLayout {
        width: parent.width
        spacing: 10
        RowLayout {
            spacing: 12
            Rectangle {
                implicitWidth: 40; implicitHeight: 40; radius: 12
                color: Qt.rgba(Theme.violet.r, Theme.violet.g, Theme.violet.b, 0.13)
                Icon { anchors.centerIn: parent; name: "externaldrive.fill.badge.timemachine"; size: 22; color: Theme.violet }
            }
            ColumnLayout {
                spacing: 0
                Heading {
                    text: "Hidden, reclaimable space"
                }
                Text {
                    objectName: "purgeableAmount"
                    text: Format.bytes(card.model.purgeableBytes)
                    font.family: Theme.fontFamily
                    font.pixelSize: 22
                    font.weight: Font.Bold
                    color: Theme.violet
                }
            }
            Item { Layout.fillWidth: true }
            Icon {
                name: "questionmark.circle"
                size: 20
                color: Theme.tertiaryText
                TapHandler { onTapped: card.explaining = !card.explaining }
            }
        }
        Body {
            objectName: "hiddenSpaceDetail"
            Layout.fillWidth: true
            text: card.model.detail
            wrapMode: Text.WordWrap
        }
        Caption {
            Layout.fillWidth: true
            visible: card.explaining
            text: "This is what the system calls purgeable space: local snapshot copies and other data it can evict when it needs room. It counts as available, yet it still takes up the disk until the system lets it go."
            wrapMode: Text.WordWrap
        }
        RowLayout {
            spacing: 12
            AppButton {
                kind: "primary"
                iconName: card.model.isReclaiming ? "" : "sparkles"
                text: card.model.isReclaiming ? "Reclaiming" : "Reclaim now"
                enabled: !card.model.isReclaiming
                onClicked: card.model.reclaimNow()
            }
            BusyIndicator {
                visible: card.model.isReclaiming
                running: card.model.isReclaiming
                implicitWidth: 24
                implicitHeight: 24
            }
            Row {
                visible: card.model.hasRun
                spacing: 6
                Body {
                    text: Format.bytes(card.model.beforeFree)
                }
                Icon { name: "arrow.right"; size: 16; anchors.verticalCenter: parent.verticalCenter }
                Body {
                    text: Format.bytes(card.model.afterFree) + " free"
                }
                Body {
                    text: card.model.afterFree > card.model.beforeFree
                          ? "+" + Format.bytes(card.model.afterFree - card.model.beforeFree)
                          : "macOS may release the rest in the background over a few minutes."
                    font.weight: card.model.afterFree > card.model.beforeFree ? Font.DemiBold : Font.Normal
                    color: card.model.afterFree > card.model.beforeFree ? Theme.green : Theme.tertiaryText
                }
            }
        }
        Caption {
            Layout.fillWidth: true
            text: "Your files and your Time Machine drive backups are untouched — this only thins the local snapshot copies macOS keeps \"just in case\"."
            wrapMode: Text.WordWrap
        }
    }
}
