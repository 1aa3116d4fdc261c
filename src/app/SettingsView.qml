import QtQuick
import Vantry.Style

/// The settings' place, until there are any.
Rectangle {
    color: Theme.page

    EmptyState {
        anchors.centerIn: parent
        symbol: "gearshape"
        title: qsTr("There is nothing to set yet")
    }
}
