import QtQuick
import Vantry.Style

/// A part of a screen under its heading.
Column {
    id: root

    property string title

    spacing: 5

    Label {
        width: parent.width
        text: root.title
        textStyle: Tokens.section
        color: Theme.text2
        Accessible.role: Accessible.Heading
    }
}
