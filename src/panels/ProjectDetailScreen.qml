import QtQuick
import Vantry.Panels
import Vantry.Style

/// One project: begin a session in it, with which agent and in which mode, or resume one of its latest.
FocusScope {
    id: root

    required property ProjectDetailModel model

    signal back

    ScreenHeader {
        id: header

        width: parent.width
        title: root.model.name
        showBack: true
        onBack: root.back()
    }
    ScrollColumn {
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        marginAbove: Tokens.sp8 + Tokens.sp2

        ActionRow {
            width: parent.width
            focus: true
            symbol: "plus.circle"
            symbolColor: Theme.accentGlyph
            title: qsTr("New Session")
            subtitle: qsTr("Start a fresh conversation")
            onClicked: root.model.newSession()
        }
        TitledBlock {
            width: parent.width
            title: qsTr("Agent")

            Row {
                id: agents

                width: parent.width
                spacing: Tokens.sp6
                Accessible.role: Accessible.Grouping
                Accessible.name: qsTr("Agent")

                Repeater {
                    id: tools

                    model: root.model.tools

                    // The components below are part of this file alone, and see what stands around them.
                    // qmllint disable unqualified
                    AgentToolButton {
                        required property int index
                        required property var modelData

                        width: (agents.width - (tools.count - 1) * agents.spacing) / tools.count
                        symbol: modelData.symbol
                        title: modelData.title
                        isSelected: modelData.selected
                        isSelectable: modelData.selectable
                        onClicked: root.model.selectTool(index)
                    }
                }
            }
        }
        TitledBlock {
            width: parent.width
            title: qsTr("Mode")

            PermissionModePicker {
                width: parent.width
                model: root.model
            }
        }
        TitledBlock {
            width: parent.width
            visible: root.model.recentSessions.length > 0
            title: qsTr("Recent Sessions")

            Column {
                id: history

                x: -Tokens.sp8
                width: parent.width + 2 * Tokens.sp8
                Accessible.role: Accessible.List
                Accessible.name: qsTr("Recent Sessions")

                Repeater {
                    model: root.model.recentSessions

                    SessionHistoryRow {
                        required property var modelData

                        width: history.width
                        title: modelData.title
                        timeText: modelData.timeText
                        onClicked: root.model.resumeSession(modelData.id)
                    }
                }
            }
        }
    }
}
