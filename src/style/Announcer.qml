import QtQuick

/// Has screen readers say a text, once, while it is shown to nobody else.
///
/// There is no call for an announcement before Qt 6.8, and Alert events don't reach assistive programs on Linux. What
/// they do speak of is a notification that comes up: so this is one, which comes with its text and goes again.
Item {
    id: root

    property var waiting: []

    /// Texts of one turn of the event loop are said together.
    function announce(text: string) {
        waiting.push(text);
        Qt.callLater(show); // qmllint disable
    }

    function show() {
        visible = false;
        Accessible.name = waiting.join(". ");
        waiting = [];
        visible = true;
        reading.restart();
    }

    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification

    // Long enough for a screen reader to come and read it.
    PauseAnimation {
        id: reading

        duration: 5000
        onFinished: root.visible = false
    }
}
