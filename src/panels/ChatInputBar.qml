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
        const hasText = model.canSend;
        model.send();
        if (hasText)
            sent();
    }

    function toggleDictation() {
        const hasText = model.isDictating && model.canSend;
        model.toggleDictation();
        if (hasText)
            sent();
        field.forceActiveFocus();
    }

    implicitHeight: field.implicitHeight + Tokens.inputBarHeight - Tokens.fieldHeight + (error.visible ? error.implicitHeight + Tokens.sp6 : 0)

    Hairline {
        width: parent.width
    }
    Label {
        id: error

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Tokens.sp8
        visible: text !== "" && !root.model.isDictating
        text: root.model.dictation?.error ?? ""
        color: Theme.error
        wrapMode: Text.Wrap
    }
    MessageField {
        id: field

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8
        anchors.right: bars.visible ? bars.left : micButton.visible ? micButton.left : sendButton.left
        anchors.rightMargin: Tokens.sp6
        anchors.bottom: parent.bottom
        anchors.bottomMargin: (Tokens.inputBarHeight - Tokens.fieldHeight) / 2
        height: implicitHeight
        readOnly: root.model.isDictating
        focus: true
        enabled: root.model.inputEnabled
        placeholder: root.model.placeholder
        text: root.model.typedText
        onTextChanged: root.model.typedText = text
        onAccepted: root.send()
    }
    AudioBarsView {
        id: bars

        anchors.right: micButton.left
        anchors.rightMargin: Tokens.sp6
        anchors.verticalCenter: micButton.verticalCenter
        visible: root.model.isDictating
        levels: root.model.dictation?.audioLevels ?? []
    }
    IconButton {
        id: micButton

        anchors.right: sendButton.left
        anchors.rightMargin: Tokens.sp2
        anchors.verticalCenter: sendButton.verticalCenter
        visible: root.model.dictation !== null
        enabled: root.model.inputEnabled
        symbol: root.model.isDictating ? "mic.fill" : "mic"
        text: root.model.isDictating ? qsTr("Stop and send") : qsTr("Dictate")
        color: root.model.isDictating ? Theme.error : Theme.text2
        onClicked: root.toggleDictation()
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
