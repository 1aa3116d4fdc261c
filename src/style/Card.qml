import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A block that is set off from the ground. It is as large as its only child with its padding.
T.Pane {
    id: root

    enum Kind {
        Tint,
        Sunken,
        Error,
        Raised
    }

    property int kind: Card.Raised
    property real radius: Tokens.radiusRow

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: Tokens.sp12

    background: Rectangle {
        radius: root.radius
        color: [Theme.tint, Theme.sunken, Theme.errorTint, Theme.raised][root.kind]
        border.width: Tokens.borderWidth
        border.color: [Theme.tintLine, Theme.sunken, Theme.errorLine, Theme.line][root.kind]
    }
}
