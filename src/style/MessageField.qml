import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A field for a text of some lines, which it grows with. Return sends, Shift+Return begins a new line.
FocusScope {
    id: root

    property string placeholder
    property alias text: area.text
    property alias readOnly: area.readOnly
    property int maxLines: 4
    readonly property alias preeditText: area.preeditText
    property real leftPadding: Tokens.sp8

    signal accepted

    implicitHeight: Math.max(Tokens.fieldHeight, Math.min(1, maxLines / Math.max(1, area.lineCount)) * area.contentHeight + flickable.anchors.topMargin + flickable.anchors.bottomMargin)

    FieldSurface {
        anchors.fill: parent
        focused: area.activeFocus
        opacity: root.enabled ? 1 : 0.6
    }
    Flickable {
        id: flickable

        anchors.fill: parent
        anchors.topMargin: Tokens.sp6
        anchors.bottomMargin: Tokens.sp6
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height

        T.TextArea.flickable: T.TextArea {
            id: area

            focus: true
            topPadding: Math.max(0, Math.round((flickable.height - contentHeight) / 2))
            leftPadding: root.leftPadding
            rightPadding: Tokens.sp8
            font: Tokens.body.font
            color: Theme.text
            selectionColor: Theme.focus
            selectedTextColor: Theme.bg
            selectByMouse: true
            wrapMode: TextEdit.Wrap
            textFormat: TextEdit.PlainText
            // A text stands as its language does, the caret before it as the placeholder.
            horizontalAlignment: text === "" ? TextEdit.AlignLeft : undefined
            Accessible.role: Accessible.EditableText
            Accessible.name: root.placeholder

            Keys.onPressed: event => event.accepted = sendKey.take(event)
            Keys.onTabPressed: area.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            Keys.onBacktabPressed: area.nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
        }
        T.ScrollBar.vertical: ThinScrollBar {}
    }
    Label {
        anchors.left: parent.left
        anchors.leftMargin: root.leftPadding
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        visible: area.text === "" && area.preeditText === ""
        text: root.placeholder
        color: Theme.text3
        Accessible.ignored: true
    }

    QtObject {
        id: sendKey

        function take(event: KeyEvent): bool {
            const isSend = (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && !(event.modifiers & Qt.ShiftModifier);
            if (isSend)
                root.accepted();
            return isSend;
        }
    }
}
