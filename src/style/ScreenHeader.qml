import QtQuick
import Vantry.Style

/// The top of a screen: the way back, its title, and what stands at the right as children.
Item {
    id: root

    property string title
    /// A few words beside the title.
    property string caption
    /// Whether a dot behind the caption says that something waits out of view.
    property bool marked: false
    property bool showBack: false
    default property alias trailing: trailingRow.data

    signal back

    implicitHeight: Tokens.headerHeight

    Button {
        id: backButton

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp4
        anchors.verticalCenter: parent.verticalCenter
        visible: root.showBack
        kind: Button.Plain
        size: Button.Regular
        horizontalPadding: Tokens.sp6
        symbol: "chevron.left"
        text: qsTr("Back")
        textColor: Theme.text2
        onClicked: root.back()
    }
    Label {
        id: titleLabel

        readonly property real start: root.showBack ? backButton.width + Tokens.sp4 + Tokens.sp6 : Tokens.sp16
        readonly property real room: root.width - start - trailingRow.width - 2 * Tokens.sp8

        anchors.left: root.showBack ? backButton.right : parent.left
        anchors.leftMargin: root.showBack ? Tokens.sp6 : Tokens.sp16
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, room)
        text: root.title
        textStyle: Tokens.heading
        Accessible.role: Accessible.Heading
    }
    Label {
        id: captionLabel

        anchors.left: titleLabel.right
        anchors.leftMargin: Tokens.sp8
        anchors.baseline: titleLabel.baseline
        visible: root.caption !== ""
        text: root.caption
        textStyle: Tokens.meta
        color: Theme.text3
    }
    Rectangle {
        anchors.left: captionLabel.right
        anchors.leftMargin: Tokens.sp6
        anchors.verticalCenter: captionLabel.verticalCenter
        visible: root.marked
        width: Tokens.stateDotSize
        height: width
        radius: width / 2
        color: Theme.accentGlyph
        Accessible.ignored: true
    }
    Row {
        id: trailingRow

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        spacing: Tokens.sp2
    }
    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }
}
