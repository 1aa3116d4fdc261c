import QtQuick
import QtQuick.Templates as T

/// Presses a button for the keyboard and assistive programs, and keeps the pointer from a button that can't be used now
/// but keeps its focus.
MouseArea {
    id: root

    required property T.AbstractButton button
    required property bool usable

    function press() {
        if (usable)
            button.clicked();
    }

    anchors.fill: parent
    enabled: !usable
    acceptedButtons: Qt.LeftButton
    Accessible.ignored: true
}
