import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A row of a list that can be opened. What it shows is its contentItem, or stands in it as children. It is highlighted
/// when the arrow keys have chosen it while the caret stays in a field.
T.ItemDelegate {
    id: root

    /// It waits for the user: a tinted card.
    property bool attention: false
    property real radius: Tokens.radiusRow
    /// One and a half pixels, as whole pixels of the screen.
    readonly property real ringWidth: Math.round(1.5 * Screen.devicePixelRatio) / Screen.devicePixelRatio

    /// The row's menu was asked for, by the pointer or the keyboard; the position is in the row.
    signal menuRequested(point position)

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(Tokens.sessionRowHeight, implicitContentHeight + topPadding + bottomPadding)
    padding: Tokens.sp8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onMenuPressed: menuRequested(Qt.point(width / 2, height / 2))

    Shortcut {
        enabled: root.activeFocus
        sequence: "Shift+F10"
        onActivated: root.menuRequested(Qt.point(root.width / 2, root.height / 2))
    }
    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: eventPoint => root.menuRequested(eventPoint.position)
    }

    background: ControlSurface {
        radius: root.radius
        hovered: root.hovered
        pressed: root.down
        restColor: root.highlighted ? Theme.selection : root.attention ? Theme.tint : Qt.alpha(Theme.hover, 0)
        hoverColor: root.highlighted ? Theme.selection : root.attention ? Theme.tintHover : Theme.hover
        pressedColor: root.attention ? Theme.tintHover : Theme.pressed
        border.width: root.highlighted ? root.ringWidth : root.attention ? Tokens.borderWidth : 0
        border.color: root.highlighted ? Theme.focus : Theme.tintLine
    }

    FocusRing {
        inside: true
        targetRadius: root.radius
    }
}
