import QtQuick
import Vantry.App

/// The set-up's window without its frame.
Item {
    id: root

    required property OnboardingViewModel viewModel

    implicitWidth: content.implicitWidth
    implicitHeight: content.implicitHeight

    OnboardingFrame {
        id: content

        anchors.fill: parent
        focus: true
        viewModel: root.viewModel
    }
}
