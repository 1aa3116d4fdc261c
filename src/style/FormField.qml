import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A field of a form for a short text in one line. What is typed is taken over when the user is done with it, and not
/// by every key.
T.TextField {
    id: root

    /// What it is for.
    property string label
    /// Its text is shown as dots, and can't be copied.
    property bool isSecret: false

    /// The user is done: by Return, or by going elsewhere.
    signal done

    implicitHeight: Tokens.button
    leftPadding: Tokens.sp8
    rightPadding: Tokens.sp8
    verticalAlignment: TextInput.AlignVCenter
    font: isSecret ? Tokens.body.font : Tokens.code.font
    color: Theme.text
    selectionColor: Theme.focus
    selectedTextColor: Theme.bg
    selectByMouse: true
    hoverEnabled: true
    echoMode: isSecret ? TextInput.Password : TextInput.Normal
    passwordCharacter: "•"
    inputMethodHints: isSecret ? Qt.ImhSensitiveData | Qt.ImhHiddenText | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase : Qt.ImhNone
    Accessible.role: Accessible.EditableText
    Accessible.name: label
    Accessible.passwordEdit: isSecret

    onAccepted: done()
    onActiveFocusChanged: {
        if (!activeFocus)
            done();
    }

    background: FieldSurface {
        focused: root.activeFocus
        border.color: focused ? Theme.focus : Theme.lineStrong
    }
}
