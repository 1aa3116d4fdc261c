import QtQuick
import Vantry.Style

/// A row that is text alone.
Item {
    id: root

    required property string text

    width: parent?.width ?? 0
    implicitHeight: label.implicitHeight + 2 * Tokens.sp8

    Hairline {
        x: Tokens.borderWidth
        width: parent.width - 2 * x
    }
    Label {
        id: label

        x: Tokens.sp12
        y: Tokens.sp8
        width: parent.width - 2 * x
        text: root.text
        textStyle: Tokens.meta
        color: Theme.text2
        wrapMode: Text.Wrap
    }
}
