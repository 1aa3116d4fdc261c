import QtQuick
import Vantry.Style

/// A path in one line, whose beginning gives way. It reads from left to right in every language.
Label {
    id: root

    /// The whole path, for screen readers and the tooltip.
    required property string path

    LayoutMirroring.enabled: false
    horizontalAlignment: Text.AlignLeft
    elide: Text.ElideLeft
    textStyle: Tokens.code
    color: Theme.text2
    Accessible.name: path
}
