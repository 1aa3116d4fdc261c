import QtQuick
import Vantry.Style

/// A session's name and branch, with the lines that it changed, in the width that is there: the branch gives way first,
/// then the name, and the counts never.
Item {
    id: root

    required property string name
    required property string branch
    property string added
    property string removed

    readonly property real nameMax: 168
    readonly property real partMin: 40
    readonly property real addedRoom: added === "" ? 0 : addedLabel.width + parts.spacing
    readonly property real removedRoom: removed === "" ? 0 : removedLabel.width + parts.spacing
    readonly property real symbolRoom: branch === "" ? 0 : parts.spacing + branchParts.leftPadding + Tokens.iconTiny + branchParts.spacing
    /// What the name and the branch's text share.
    readonly property real free: width - addedRoom - removedRoom - symbolRoom
    readonly property real branchMin: branch === "" ? 0 : Math.min(branchLabel.implicitWidth, partMin)

    implicitHeight: Tokens.row.lineHeight

    Row {
        id: parts

        spacing: Tokens.sp6

        Label {
            id: nameLabel

            width: Math.min(implicitWidth, root.nameMax, Math.max(root.partMin, root.free - root.branchMin))
            text: root.name
            textStyle: Tokens.row
            Accessible.ignored: true
        }
        Row {
            id: branchParts

            anchors.verticalCenter: nameLabel.verticalCenter
            visible: root.branch !== ""
            leftPadding: Tokens.sp2
            spacing: 3

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "arrow.triangle.branch"
                size: Tokens.iconTiny
            }
            Label {
                id: branchLabel

                width: Math.min(implicitWidth, Math.max(0, root.free - nameLabel.width))
                text: root.branch
                textStyle: Tokens.meta
                color: Theme.text2
                elide: Text.ElideMiddle
                Accessible.ignored: true
            }
        }
        Label {
            id: addedLabel

            anchors.verticalCenter: nameLabel.verticalCenter
            visible: text !== ""
            text: root.added
            textStyle: Tokens.diff
            color: Theme.added
            Accessible.ignored: true
        }
        Label {
            id: removedLabel

            anchors.verticalCenter: nameLabel.verticalCenter
            visible: text !== ""
            text: root.removed
            textStyle: Tokens.diff
            color: Theme.removed
            Accessible.ignored: true
        }
    }
}
