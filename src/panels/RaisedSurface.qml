import QtQuick
import Vantry.Style

/// What lies under a button that is a card.
ControlSurface {
    radius: Tokens.radiusRow
    restColor: Theme.raised
    border.width: Tokens.borderWidth
    border.color: Theme.line
}
