import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A line between entries of a menu.
T.MenuSeparator {
    implicitHeight: Tokens.sp8 + 1
    implicitWidth: Tokens.sp16
    Accessible.ignored: true

    contentItem: Item {
        Hairline {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
        }
    }
}
