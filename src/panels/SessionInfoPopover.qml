import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// What is known of the session.
T.Popup {
    id: root

    required property ChatViewModel model

    readonly property color statusColor: [Theme.accentText, Theme.ready, Theme.text2][model.statusTone]
    readonly property color glyphColor: [Theme.accentGlyph, Theme.readyDot, Theme.text2][model.statusTone]

    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: Tokens.sp12
    scale: Tokens.textScale
    transformOrigin: T.Popup.TopLeft
    visible: model.showSessionInfo
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent
    onClosed: model.showSessionInfo = false

    background: ElevatedFrame {
        elevation: "menu"
        radius: Tokens.radiusRow
    }
    contentItem: Column {
        spacing: Tokens.sp4
        // It doesn't stand in the panel, which is mirrored.
        LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft // qmllint disable
        LayoutMirroring.childrenInherit: true
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Session info")

        Row {
            width: root.availableWidth
            spacing: Tokens.sp6
            bottomPadding: Tokens.sp2
            Accessible.role: Accessible.ListItem
            Accessible.name: root.model.statusText

            Symbol {
                anchors.verticalCenter: statusLabel.verticalCenter
                name: root.model.statusSymbol
                size: Tokens.iconSmall
                color: root.glyphColor
            }
            Label {
                id: statusLabel

                text: root.model.statusText
                textStyle: Tokens.bodyStrong
                color: root.statusColor
                Accessible.ignored: true
            }
        }
        Repeater {
            model: root.model.infoRows

            Item {
                id: row

                required property var modelData

                width: root.availableWidth
                implicitHeight: Tokens.meta.lineHeight
                Accessible.role: Accessible.ListItem
                Accessible.name: qsTr("%1: %2").arg(modelData.label).arg(modelData.value)

                Label {
                    id: label

                    anchors.left: parent.left
                    width: 72
                    text: row.modelData.label
                    textStyle: Tokens.meta
                    color: Theme.text2
                    Accessible.ignored: true
                }
                Label {
                    anchors.left: label.right
                    anchors.leftMargin: Tokens.sp6
                    anchors.right: parent.right
                    text: row.modelData.value
                    textStyle: row.modelData.isCode ? Tokens.code : Tokens.meta
                    Accessible.ignored: true
                }
            }
        }
    }
}
