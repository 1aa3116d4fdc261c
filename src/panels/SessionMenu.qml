import QtQuick
import Vantry.Panels
import Vantry.Style

/// The menu of a row in the session list.
PopupMenu {
    id: root

    required property SessionListModel sessions
    property string sessionID

    signal viewRequested(string sessionID)

    function openFor(id: string, item: Item, position: point) {
        root.sessionID = id;
        root.popup(item, position.x, position.y);
    }

    PopupMenuItem {
        text: qsTr("View Agent")
        symbol: "message"
        onTriggered: root.viewRequested(root.sessionID)
    }

    PopupMenuItem {
        text: qsTr("Focus Terminal")
        symbol: "macwindow"
        onTriggered: root.sessions.focusTerminal(root.sessionID)
    }

    PopupMenuItem {
        text: qsTr("Terminate")
        symbol: "xmark.circle"
        destructive: true
        onTriggered: root.sessions.terminate(root.sessionID)
    }
}
