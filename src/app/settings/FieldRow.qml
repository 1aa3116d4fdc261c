import QtQuick
import Vantry.Style

/// A setting that is typed.
Item {
    id: root

    required property string label
    property string text
    property bool isSecret: false
    property bool isFirst: false
    /// The field's, for those who look for it.
    property string fieldName

    signal edited(string text)
    signal done

    width: parent?.width ?? 0
    implicitHeight: 38

    Hairline {
        x: Tokens.borderWidth
        width: parent.width - 2 * x
        visible: !root.isFirst
    }
    Label {
        id: name

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(86, implicitWidth)
        text: root.label
        textStyle: Tokens.control
        Accessible.ignored: true
    }
    FormField {
        objectName: root.fieldName
        anchors.left: name.right
        anchors.leftMargin: Tokens.sp8
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        label: root.label
        isSecret: root.isSecret
        text: root.text
        onTextEdited: root.edited(text)
        onDone: root.done()
    }
}
