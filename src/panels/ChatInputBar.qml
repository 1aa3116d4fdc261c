import QtQuick
import Vantry.Panels
import Vantry.Style

/// Where a text for the agent is typed. While none may be typed, the field says why.
FocusScope {
    id: root

    required property ChatViewModel model

    /// A text was sent.
    signal sent

    function send() {
        if (!model.canSend)
            return;
        model.send();
        sent();
    }

    implicitHeight: field.implicitHeight + Tokens.inputBarHeight - Tokens.fieldHeight

    Hairline {
        width: parent.width
    }
    MessageField {
        id: field

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8
        anchors.right: sendButton.left
        anchors.rightMargin: Tokens.sp6
        anchors.verticalCenter: parent.verticalCenter
        height: implicitHeight
        focus: true
        enabled: root.model.inputEnabled
        placeholder: root.model.placeholder
        text: root.model.typedText
        onTextChanged: root.model.typedText = text
        onAccepted: root.send()
    }
    IconButton {
        id: sendButton

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp8
        anchors.bottom: field.bottom
        anchors.bottomMargin: (Tokens.fieldHeight - height) / 2
        enabled: root.model.canSend
        symbol: "arrow.up.circle.fill"
        symbolSize: Tokens.sp20
        text: qsTr("Send")
        color: Theme.ink
        onClicked: root.send()
    }
}
