import QtQuick
import Vantry.Panels
import Vantry.Style

/// One session's conversation, and what can be done to the session. In the action block, Alt+A allows, Alt+D denies,
/// Alt+1 to Alt+9 take an option.
FocusScope {
    id: root

    required property ChatViewModel model

    Keys.onEscapePressed: event => {
        event.accepted = model.showKillConfirm;
        model.showKillConfirm = false;
    }

    Shortcut {
        enabled: root.enabled && action.isPermission
        sequence: "Alt+A"
        onActivated: root.model.allow()
    }
    Shortcut {
        enabled: root.enabled && action.isPermission
        sequence: "Alt+D"
        onActivated: root.model.deny()
    }
    Repeater {
        model: ["Alt+1", "Alt+2", "Alt+3", "Alt+4", "Alt+5", "Alt+6", "Alt+7", "Alt+8", "Alt+9"]

        Item {
            id: optionKey

            required property int index
            required property string modelData

            Shortcut {
                enabled: root.enabled && action.isQuestion && root.model.canAnswer
                sequence: optionKey.modelData
                onActivated: root.model.answer(optionKey.index)
            }
        }
    }
    ChatHeader {
        id: header

        anchors.left: parent.left
        anchors.right: parent.right
        model: root.model
    }
    ChatMessageList {
        id: messages

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
        anchors.bottom: action.top
        focus: !input.visible
        model: root.model
    }
    ActionBlock {
        id: action

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Tokens.sp8
        anchors.bottom: input.top
        anchors.bottomMargin: visible ? Tokens.sp8 : 0
        height: visible ? implicitHeight : 0
        maximumHeight: root.height / 2
        model: root.model
    }
    ChatInputBar {
        id: input

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: footer.top
        height: visible ? implicitHeight : 0
        visible: root.model.showsInputBar
        focus: visible
        model: root.model
        onSent: messages.showEnd()
    }
    ChatFooter {
        id: footer

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        model: root.model
    }
}
