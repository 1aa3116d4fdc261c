import QtQuick
import Vantry.Panels
import Vantry.Style

/// How the branch of a session that is to be resumed stands to the one that is checked out.
Card {
    id: root

    required property ResumeDialogModel model
    readonly property bool isChecking: model.branchState === ResumeDialogModel.Checking
    readonly property bool isSame: model.branchState === ResumeDialogModel.SameBranch
    readonly property bool isMismatch: model.branchState === ResumeDialogModel.DifferentBranch
    /// Branches stand out in a sentence that is set back.
    readonly property color sentenceColor: isSame ? Theme.text : Theme.text2

    kind: isMismatch ? Card.Tint : model.branchState === ResumeDialogModel.BranchDeleted ? Card.Error : Card.Sunken
    verticalPadding: Tokens.sp8 + Tokens.sp2
    visible: model.branchState !== ResumeDialogModel.NoBlock

    contentItem: Item {
        implicitHeight: column.implicitHeight

        BusyRing {
            anchors.horizontalCenter: mark.horizontalCenter
            anchors.verticalCenter: mark.verticalCenter
            visible: root.isChecking
        }
        Symbol {
            id: mark

            anchors.left: parent.left
            y: (Tokens.body.lineHeight - height) / 2
            visible: !root.isChecking
            name: root.isSame ? "checkmark.circle.fill" : root.isMismatch ? "exclamationmark.triangle.fill" : "xmark.circle.fill"
            color: root.isSame ? Theme.readyDot : root.isMismatch ? Theme.accentGlyph : Theme.error
        }
        Column {
            id: column

            anchors.left: mark.right
            anchors.leftMargin: Tokens.sp8 + Tokens.sp2
            anchors.right: parent.right
            spacing: Tokens.sp6

            Column {
                width: parent.width

                Label {
                    width: parent.width
                    visible: text !== ""
                    text: root.model.branchTitle
                    textStyle: Tokens.bodyStrong
                }
                Label {
                    width: parent.width
                    wrapMode: Text.Wrap
                    textFormat: Text.StyledText
                    text: root.model.branchText.replace(/<b>/g, `<b><font color="${Theme.text}">`).replace(/<\/b>/g, "</font></b>")
                    color: root.sentenceColor
                    Accessible.name: root.model.branchPlainText
                }
            }
            Button {
                width: Math.min(implicitWidth, parent.width)
                visible: root.isMismatch && root.model.canSwitch
                symbol: "arrow.triangle.branch"
                text: qsTr("Switch to %1").arg(root.model.sessionBranch)
                busy: root.model.isSwitchingBranch
                onClicked: root.model.switchBranch()
            }
            Label {
                width: parent.width
                visible: root.isMismatch && !root.model.canSwitch
                wrapMode: Text.Wrap
                text: qsTr("Uncommitted changes — commit or stash before switching.")
                color: Theme.text2
            }
            SelectableText {
                width: parent.width
                visible: text !== ""
                text: root.model.switchError
                color: Theme.error
            }
        }
    }
}
