import QtQuick
import Vantry.Style

/// A field of a form for a secret: it is shown as dots, and nobody else is told it.
FormField {
    id: root

    property string secret
    /// In the place of the field's own text, which assistive programs would be told.
    property string text: displayText

    /// The user has typed; this stands there now.
    signal secretEdited(string secret)

    function show() {
        if (getText(0, length) === secret)
            return;
        clear();
        insert(0, secret);
    }

    echoMode: TextInput.Password
    passwordCharacter: "•"
    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhHiddenText | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
    font: Tokens.body.font
    Accessible.passwordEdit: true
    // What holds a password is given no name.
    Accessible.description: label
    Component.onCompleted: show()
    onSecretChanged: show()
    onTextEdited: secretEdited(getText(0, length))
}
