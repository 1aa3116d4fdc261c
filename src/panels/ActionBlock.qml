import QtQuick
import Vantry.Panels
import Vantry.Style

/// What the session waits for, and the buttons that answer it. What is higher than it may be scrolls.
Card {
    id: root

    required property ChatViewModel model
    /// How high it may get.
    property real maximumHeight: Infinity

    readonly property bool isPermission: model.actionKind === ChatViewModel.PermissionAction
    readonly property bool isQuestion: model.actionKind === ChatViewModel.QuestionAction

    implicitHeight: Math.min(implicitContentHeight + topPadding + bottomPadding, maximumHeight)
    horizontalPadding: Tokens.sp8 + Tokens.sp2
    verticalPadding: Tokens.sp8
    kind: Card.Tint
    visible: isPermission || isQuestion

    contentItem: Loader {
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.isPermission ? qsTr("Permission needed. %1 %2").arg(root.model.toolName).arg(root.model.toolInput) : qsTr("Claude is asking a question")
        sourceComponent: root.isPermission ? permission : root.isQuestion ? question : null
    }

    Component {
        id: permission

        PermissionBlock {
            model: root.model
            maximumHeight: root.maximumHeight - root.topPadding - root.bottomPadding
        }
    }
    Component {
        id: question

        QuestionBlock {
            model: root.model
        }
    }
}
