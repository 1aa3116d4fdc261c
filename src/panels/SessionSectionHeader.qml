import QtQuick
import Vantry.Panels
import Vantry.Style

/// Title and count of a section of the session list.
Item {
    id: root

    required property SessionListModel sessions
    required property string section

    implicitHeight: Tokens.sectionHeaderHeight

    // Opaque, so that what was drawn here before is surely drawn over.
    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    SectionHeader {
        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp16
        anchors.verticalCenter: parent.verticalCenter
        title: root.sessions.sectionTitle(root.section)
        count: ({ attention: root.sessions.attentionCount, ready: root.sessions.readyCount, working: root.sessions.workingCount })[root.section]
        tint: ({ attention: Theme.accentText, ready: Theme.ready, working: Theme.working })[root.section]
    }
}
