import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A field of a form for a short text in one line. What is typed is taken over when the user is done with it, and not
/// by every key.
T.TextField {
    id: root

    /// What it is for.
    property string label

    /// The user is done: by Return, or by going elsewhere.
    signal done

    implicitHeight: Tokens.button
    leftPadding: Tokens.sp8
    rightPadding: Tokens.sp8
    verticalAlignment: TextInput.AlignVCenter
    font: Tokens.code.font
    color: Theme.text
    selectionColor: Theme.focus
    selectedTextColor: Theme.bg
    selectByMouse: true
    hoverEnabled: true
    Accessible.role: Accessible.EditableText
    Accessible.name: label

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
