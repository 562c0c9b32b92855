import QtQuick
import QtQuick.Layouts
import Tessoly

// The full shell: the sidebar and the screen of the selected section.
Item {
    id: shell
    objectName: "shell"
    property string selection: "overview"

    // The sections, in sidebar order.
    readonly property var sections: [
        { key: "overview", label: "Overview", icon: "sparkles.rectangle.stack" },
        { key: "xray", label: "X-Ray", icon: "rays" },
        { key: "explore", label: "Explore", icon: "magnifyingglass" },
        { key: "profiles", label: "Profiles", icon: "person.crop.square.filled.and.at.rectangle" },
        { key: "devclean", label: "Dev Clean", icon: "wrench.and.screwdriver" },
        { key: "activity", label: "Activity", icon: "clock.arrow.circlepath" },
        { key: "settings", label: "Settings", icon: "gearshape.fill" }
    ]

    Rectangle { // soft page gradient
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: Theme.pageTint }
            GradientStop { position: 0.45; color: Theme.page }
            GradientStop { position: 1; color: Theme.page }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Sidebar {
            Layout.fillHeight: true
            sections: shell.sections
            selection: shell.selection
            onSelected: section => shell.selection = section
        }

        StackLayout {
            id: stack
            objectName: "detail"
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: shell.sections.findIndex(s => s.key === shell.selection)

            OverviewView { objectName: "overviewView" }
            XRayView { objectName: "xrayView" }
            ExploreView { objectName: "exploreView" }
            ProfilesView { objectName: "profilesView" }
            DevCleanView { objectName: "devCleanView" }
            ActivityView { objectName: "activityView" }
            SettingsView { objectName: "settingsView" }
        }
    }
}
