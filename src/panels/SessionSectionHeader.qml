import QtQuick
import Vantry.Panels
import Vantry.Style

/// Title and count of a section of the session list.
Item {
    id: root

    required property SessionListModel sessions
    /// Of the section, as the model's role has it.
    required property string name

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
        title: root.sessions.sectionTitle(root.name)
        count: ({ attention: root.sessions.attentionCount, ready: root.sessions.readyCount, working: root.sessions.workingCount })[root.name]
        tint: ({ attention: Theme.accentText, ready: Theme.ready, working: Theme.working })[root.name]
    }
}
