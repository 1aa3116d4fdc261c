import QtQuick
import Vantry.App
import Vantry.Style

/// What the set-up's window holds: the view in the desktop's text scale.
Item {
    id: root

    required property OnboardingViewModel viewModel

    implicitWidth: 520 * Tokens.textScale
    implicitHeight: 460 * Tokens.textScale

    OnboardingView {
        width: root.width / Tokens.textScale
        height: root.height / Tokens.textScale
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft
        focus: true
        viewModel: root.viewModel
    }
}
