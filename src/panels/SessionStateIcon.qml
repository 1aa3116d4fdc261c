import QtQuick
import Vantry.Panels
import Vantry.Style

/// A session's state as a shape, in a place of 16 by 16.
Item {
    id: root

    required property int kind
    /// Whether what runs may be seen to move.
    required property bool animated

    implicitWidth: Tokens.iconRegular
    implicitHeight: Tokens.iconRegular
    Accessible.ignored: true

    Rectangle {
        anchors.centerIn: parent
        width: Tokens.iconSmall
        height: width
        radius: width / 2
        visible: root.kind === SessionListModel.PermissionIcon || root.kind === SessionListModel.QuestionIcon
        color: Theme.accentFill

        Symbol {
            anchors.centerIn: parent
            name: root.kind === SessionListModel.QuestionIcon ? "questionmark" : "exclamationmark"
            size: 10
            color: Theme.onAccentFill
        }
    }

    Rectangle {
        anchors.centerIn: parent
        width: Tokens.iconSmall
        height: width
        radius: width / 2
        visible: root.kind === SessionListModel.AnsweredIcon
        color: "transparent"
        border.width: 1.5
        border.color: Theme.accentGlyph

        Symbol {
            anchors.centerIn: parent
            name: "checkmark"
            size: 8
            color: Theme.accentGlyph
        }
    }

    Rectangle {
        anchors.centerIn: parent
        width: Tokens.stateDotSize
        height: width
        radius: width / 2
        visible: root.kind === SessionListModel.ReadyIcon
        color: Theme.readyDot
    }

    SpinningSparkle {
        anchors.centerIn: parent
        size: Tokens.iconSmall
        visible: root.kind === SessionListModel.WorkingIcon
        running: visible && root.animated
        color: Theme.working
    }

    PulsingDot {
        anchors.centerIn: parent
        visible: root.kind === SessionListModel.LaunchingIcon
        running: visible && root.animated
        color: Theme.working
    }
}
