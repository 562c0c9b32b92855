import QtQuick
import QtQuick.Controls.Basic
import Tessoly

// A menu of fixed choices, `options` = [{label, value}], showing `value`.
// A value that is none of the choices shows no selection and is left as it
// is; only a choice the person makes is reported, through `chosen`.
ComboBox {
    id: control
    property var options: []
    property var value
    signal chosen(var value)

    model: options
    textRole: "label"
    currentIndex: options.findIndex(option => option.value === value)
    onActivated: index => control.chosen(options[index].value)

    // As wide as its widest choice, like a pop-up button, within reason
    // (drive names can be long: they elide).
    readonly property real widestLabel: Math.ceil(options.reduce((widest, option) => Math.max(widest, metrics.advanceWidth(option.label)), 0))
    implicitWidth: Math.min(280, Math.max(150, widestLabel + leftPadding + rightPadding))
    font.family: Theme.fontFamily
    font.pixelSize: Theme.bodySize
    leftPadding: 12
    rightPadding: 32
    hoverEnabled: true

    FontMetrics { id: metrics; font: control.font }

    contentItem: Text {
        text: control.displayText
        font: control.font
        color: Theme.text
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    indicator: Icon {
        x: control.width - width - 10
        y: (control.height - height) / 2
        name: "chevron.down"
        size: 18
        color: Theme.tertiaryText
    }
    background: Rectangle {
        implicitWidth: 150
        implicitHeight: 32
        radius: Theme.smallRadius
        color: control.pressed ? Theme.track : control.hovered ? Theme.selection : Theme.card
        border.width: 1
        border.color: control.visualFocus || control.popup.visible ? Theme.indigo : Theme.hairline
    }

    delegate: ItemDelegate {
        id: choice
        required property int index
        required property var modelData
        objectName: "choice_" + index
        width: ListView.view ? ListView.view.width : implicitWidth
        highlighted: control.highlightedIndex === index
        leftPadding: 10
        rightPadding: 10
        contentItem: Row {
            spacing: 8
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                name: "checkmark.circle.fill"
                size: 16
                color: Theme.indigo
                opacity: control.currentIndex === choice.index ? 1 : 0
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, choice.availableWidth - 24)
                elide: Text.ElideRight
                text: choice.modelData.label
                font: control.font
                color: Theme.text
            }
        }
        background: Rectangle {
            radius: 6
            color: choice.highlighted ? Theme.selection : "transparent"
        }
    }

    popup: Popup {
        y: control.height + 4
        width: Math.max(control.width, Math.min(control.widestLabel + 60, 360)) // the labels and the tick
        implicitHeight: Math.min(contentItem.implicitHeight + topPadding + bottomPadding, 320)
        padding: 4
        contentItem: ListView {
            id: list
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
        }
        background: Rectangle {
            radius: Theme.smallRadius
            color: Theme.card
            border.color: Theme.hairline
            Rectangle { // soft shadow
                z: -1
                anchors.fill: parent
                anchors.topMargin: 3
                anchors.bottomMargin: -3
                radius: parent.radius
                color: Theme.shadow
            }
        }
    }
}
