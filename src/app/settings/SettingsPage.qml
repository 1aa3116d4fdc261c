import QtQuick
import Vantry.Panels
import Vantry.Style

/// What a tab shows: groups one below the other, in the middle of a wide window.
ScrollColumn {
    id: root

    default property alias groups: column.data

    /// Has screen readers say what has come of something.
    function announce(outcome: string) {
        announcer.announce(outcome);
    }

    margins: Tokens.sp20
    marginAbove: Tokens.sp12 + Tokens.sp2
    ground: Theme.page

    Announcer {
        id: announcer

        parent: root
    }
    Column {
        id: column

        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width, 560)
        spacing: Tokens.sp12
    }
}
