import QtQuick
import Tessoly

// What fills the window: the Easy screen when the interface mode is exactly
// "simple", otherwise the full shell. A change of the setting swaps them at once.
// Over either: the welcome tour and the services' questions.
Item {
    id: content
    objectName: "contentView"
    readonly property bool simple: Services.settings.interfaceMode === "simple"

    Loader {
        id: face
        objectName: "face"
        anchors.fill: parent
        sourceComponent: content.simple ? easyFace : shellFace
    }

    Component {
        id: easyFace
        EasyCleanView {}
    }
    Component {
        id: shellFace
        Shell {}
    }

    OnboardingView {}
    PromptDialogs { anchors.fill: parent }
}
