import QtQuick
import QtQuick.Templates as T
import Vantry.Notch
import Vantry.Style

/// A session that needs the user, and what can be done about it with one press. The whole card is a button.
Item {
    id: root

    required property NotchPeekCardModel card
    property real radius: Tokens.radiusPeek

    implicitWidth: 300
    implicitHeight: 52
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true
    Accessible.role: Accessible.AlertMessage
    Accessible.name: card.accessibleText

    T.AbstractButton {
        id: whole

        objectName: "whole"
        anchors.fill: parent
        hoverEnabled: true
        focusPolicy: Qt.NoFocus
        Accessible.role: Accessible.Button
        Accessible.name: root.card.accessibleText
        Accessible.onPressAction: clicked()
        onClicked: root.card.tap()

        background: ControlSurface {
            radius: root.radius
            hovered: whole.hovered && !allow.hovered
            pressed: whole.down
            restColor: "#000000"
            border.width: Tokens.borderWidth
            border.color: Qt.rgba(1, 1, 1, Tokens.highContrast ? 0.6 : 0.12)
        }
    }
    // Without a tooltip: in a window that is no larger than the card it would cover "Allow".
    component Line: Text {
        property textStyle textStyle

        width: parent.width
        font: textStyle.font
        lineHeightMode: Text.FixedHeight
        lineHeight: textStyle.lineHeight
        topPadding: textStyle.leading
        bottomPadding: -textStyle.leading
        textFormat: Text.PlainText
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignLeft
        maximumLineCount: 1
        Accessible.ignored: true
    }

    Symbol {
        id: symbol

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12 + Tokens.sp2
        anchors.verticalCenter: parent.verticalCenter
        name: root.card.symbol
        size: 20
        color: Theme.accent
    }
    Column {
        anchors.left: symbol.right
        anchors.leftMargin: Tokens.sp8 + Tokens.sp2
        anchors.right: allow.visible ? allow.left : parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter

        Line {
            text: root.card.name
            textStyle: Tokens.row
            color: "#FFFFFF"
        }
        Line {
            text: root.card.status
            textStyle: Tokens.meta
            color: Theme.text2
        }
    }
    T.AbstractButton {
        id: allow

        objectName: "allow"
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: Math.ceil(label.implicitWidth + 2 * Tokens.sp12)
        implicitHeight: Tokens.buttonSmall
        visible: root.card.canAllow
        hoverEnabled: true
        focusPolicy: Qt.NoFocus
        text: qsTr("Allow")
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.onPressAction: clicked()
        onClicked: root.card.allow()

        background: ControlSurface {
            // A full half would leave a line in the middle at fractional scales.
            radius: height / 2 - 1
            hovered: allow.hovered
            pressed: allow.down
            restColor: Theme.accentFill
            hoverColor: Theme.accentFillHover
            pressedColor: Theme.accentFillPressed
        }
        contentItem: Label {
            id: label

            text: allow.text
            textStyle: Tokens.capsule
            color: Theme.onAccentFill
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
    }
}
