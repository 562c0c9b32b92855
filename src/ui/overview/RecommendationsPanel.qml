import QtQuick
import QtQuick.Layouts
import Tessoly

// After the first finished scan: the heading, the visible cards in their
// ranked order, or the "All clear" box when none are left.
ColumnLayout {
    id: panel
    objectName: "recommendationsPanel"
    property var smartScan: Services.smartScan
    readonly property int count: smartScan.visibleRecommendations.length
    // The cards' data by id; the list model below holds only the ids, so a
    // card that stays keeps its delegate (and its open sheet) across changes.
    property var byId: ({})
    visible: smartScan.hasScanned
    spacing: 12

    ListModel { id: rows }

    // Brings the rows in line with the service's list: stale ids leave first,
    // then the data is swapped, then new ids are inserted or moved into place.
    function sync() {
        const list = smartScan.visibleRecommendations
        const ids = list.map(r => r.id)
        for (let i = rows.count - 1; i >= 0; --i) {
            if (ids.indexOf(rows.get(i).recId) < 0)
                rows.remove(i)
        }
        const map = {}
        for (const r of list)
            map[r.id] = r
        byId = map
        for (let i = 0; i < ids.length; ++i) {
            if (i < rows.count && rows.get(i).recId === ids[i])
                continue
            let at = -1
            for (let j = i + 1; j < rows.count; ++j) {
                if (rows.get(j).recId === ids[i]) {
                    at = j
                    break
                }
            }
            if (at >= 0)
                rows.move(at, i, 1)
            else
                rows.insert(i, { recId: ids[i] })
        }
    }

    Connections {
        target: panel.smartScan
        function onRecommendationsChanged() { panel.sync() }
    }
    Component.onCompleted: sync()

    RiseIn { id: headingRise; target: heading }
    RowLayout {
        id: heading
        Layout.fillWidth: true
        Layout.topMargin: 6
        spacing: 10
        transform: headingRise.shift
        onVisibleChanged: if (visible) headingRise.enter()
        Title {
            objectName: "recommendationsHeading"
            text: "Recommendations"
        }
        Rectangle {
            visible: panel.count > 0
            implicitWidth: toReview.implicitWidth + 16
            implicitHeight: 22
            radius: 11
            color: Theme.selection
            Caption {
                id: toReview
                objectName: "toReview"
                anchors.centerIn: parent
                text: panel.count + " to review"
                font.weight: Font.DemiBold
                color: Theme.indigo
            }
        }
        Item { Layout.fillWidth: true }
    }

    Repeater {
        objectName: "recommendationList"
        model: rows
        delegate: RecommendationCard {
            id: card
            required property string recId
            required property int index
            objectName: "recommendationCard_" + index
            Layout.fillWidth: true
            recommendation: panel.byId[recId]
            transform: rise.shift
            RiseIn { id: rise; target: card; order: Math.min(card.index, 5) }
            Component.onCompleted: rise.enter()
        }
    }

    Card {
        id: allClear
        objectName: "allClear"
        Layout.fillWidth: true
        visible: panel.count === 0
        padding: 28
        transform: allClearRise.shift
        RiseIn { id: allClearRise; target: allClear }
        onVisibleChanged: if (visible) allClearRise.enter()

        ColumnLayout {
            width: parent.width
            spacing: 8
            Rectangle {
                Layout.alignment: Qt.AlignHCenter
                implicitWidth: 56; implicitHeight: 56; radius: 18
                color: Theme.pale(Theme.green)
                Icon { anchors.centerIn: parent; name: "checkmark.seal.fill"; size: 30; color: Theme.green }
            }
            Heading {
                objectName: "allClearTitle"
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 4
                text: "All clear"
            }
            Body {
                objectName: "allClearMessage"
                Layout.fillWidth: true
                text: "Smart Scan didn't find anything to clean up right now. Run it again any time."
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                color: Theme.tertiaryText
            }
        }
    }
}
