import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// A session in the list: its state, its name, what it says; a card with buttons while it waits for the user. Right and
/// Left go between the row and its buttons.
FocusScope {
    id: root

    required property int index
    required property string sessionID
    required property string name
    required property string branch
    required property string linesAddedText
    required property string linesRemovedText
    required property int contextUsed
    required property int icon
    required property bool isAttention
    required property bool showsPermission
    required property bool showsQuestion
    required property string toolName
    required property string toolDetail
    required property string statusLine
    required property string elapsedText
    required property var options
    required property bool canAnswer
    required property string answerRefusal
    required property bool hasAlwaysAllow
    required property bool allowPressed
    required property string accessibleText

    required property SessionListModel sessions
    /// Whether what changes may be seen to move.
    required property bool animated
    /// A row that is made now is new in its place, and fades in; else it was scrolled to.
    required property bool comesWithChange
    /// By section, where its header is drawn in the list.
    required property var headerPlaces

    readonly property real topPadding: isAttention ? Tokens.sp6 : Tokens.sp4
    readonly property real gap: isAttention ? Tokens.sp4 : 0
    readonly property real bottomPadding: hasButtons ? 7 : isAttention ? Tokens.sp8 : Tokens.sp6
    /// Bears the header of its section.
    readonly property bool isFirst: ListView.section !== ListView.previousSection
    readonly property string headerName: isFirst ? ListView.section : ""
    readonly property real headerHeight: isFirst ? Tokens.sectionHeaderHeight : 0
    /// The header was borne by another row until now.
    property bool takesHeader: false
    /// It has stood in the list for a while, so that what moves it is a change of the list.
    property bool isSettled: false
    readonly property bool glides: animated && isSettled
    readonly property bool hasButtons: showsPermission || showsQuestion
    /// The card's height while it last had buttons. What has just been answered keeps this room, so that no other row
    /// comes under the pointer, which may still be clicking.
    property real heightWithButtons: 0
    readonly property real roomHeight: isAttention && !hasButtons ? Math.max(heightWithButtons, card.fullHeight) : card.fullHeight
    readonly property Item lastControl: (buttons.item as PermissionButtons)?.last ?? (buttons.item as QuestionButtons)?.last ?? more

    /// The row itself was pressed, or "View".
    signal opened
    /// The position is in the item.
    signal menuRequested(Item item, point position)
    /// Tab goes out of the row.
    signal tabbedOut(bool forward)

    function focusRow() {
        card.forceActiveFocus(Qt.TabFocusReason);
        showFocus();
    }

    /// Who comes by keyboard sees the ring; the list gives its focus on without that reason.
    function showFocus() {
        if (card.activeFocus && card.focusReason === Qt.OtherFocusReason)
            card.focusReason = Qt.TabFocusReason;
    }

    function focusLast() {
        lastControl.forceActiveFocus(Qt.BacktabFocusReason);
    }

    /// To the next control of the row, or the one before.
    function step(forward: bool) {
        if (forward ? !lastControl.activeFocus : !card.activeFocus)
            Window.activeFocusItem.nextItemInFocusChain(forward).forceActiveFocus(Qt.TabFocusReason);
    }

    /// A key with Alt. Whether it answers what the row asks.
    function takeKey(key: int): bool {
        const option = key - Qt.Key_1;
        if (showsPermission && key === Qt.Key_A)
            sessions.allow(sessionID);
        else if (showsPermission && key === Qt.Key_D)
            sessions.deny(sessionID);
        else if (canAnswer && option >= 0 && option < Math.min(9, options.length))
            sessions.answer(sessionID, option);
        else
            return false;
        return true;
    }

    function settle() {
        isSettled = true;
    }

    /// Takes its place at once.
    function appear() {
        // One that has been removed was faded out.
        opacity = 1;
        if (comesWithChange)
            fadeIn.restart();
        Qt.callLater(settle); // qmllint disable
    }

    implicitHeight: headerHeight + roomHeight + gap
    // What moves farthest is above the others.
    z: Math.abs(bodyGlide.offset)
    onHeaderNameChanged: {
        const from = headerName === "" ? undefined : headerPlaces[headerName];
        takesHeader = from !== undefined && (isSettled || comesWithChange);
        headerGlide.start(takesHeader ? from - y : 0);
    }
    Component.onCompleted: appear()
    // Else assistive programs would still find it while it waits to be used again.
    ListView.onPooled: {
        visible = false;
        isSettled = false;
    }
    ListView.onReused: {
        visible = true;
        heightWithButtons = hasButtons ? card.fullHeight : 0;
        appear();
    }
    onHasButtonsChanged: if (buttons.activeFocus) card.forceActiveFocus((Window.activeFocusItem as T.Control)?.visualFocus ? Qt.TabFocusReason : Qt.MouseFocusReason)

    Keys.onPressed: event => event.accepted = event.modifiers === Qt.AltModifier && takeKey(event.key)
    Keys.onRightPressed: step(!LayoutMirroring.enabled)
    Keys.onLeftPressed: step(LayoutMirroring.enabled)
    Keys.onEscapePressed: event => {
        event.accepted = !card.activeFocus;
        if (event.accepted)
            focusRow();
    }

    NumberAnimation {
        id: fadeIn

        target: root
        property: "opacity"
        from: 0
        to: 1
        duration: Tokens.rowMoveMs
        easing.type: Easing.OutCubic
    }
    Glide {
        id: headerGlide

        place: root.y
        enabled: root.glides || (root.animated && root.takesHeader)
        onShownChanged: if (root.headerName !== "")
            root.headerPlaces[root.headerName] = shown
    }
    Glide {
        id: bodyGlide

        place: root.y + root.headerHeight
        enabled: root.glides
    }
    Loader {
        y: headerGlide.offset
        width: parent.width
        active: root.isFirst
        sourceComponent: SessionSectionHeader {
            sessions: root.sessions
            name: root.ListView.section
        }
    }
    Item {
        y: root.headerHeight + bodyGlide.offset
        width: parent.width
        height: Math.max(card.height, root.roomHeight) + root.gap

        // Opaque, so that what was drawn here before is surely drawn over.
        Rectangle {
            anchors.fill: parent
            color: Theme.bg
        }
        HoverHandler {
            id: pointer
        }
        ListRow {
            id: card

            readonly property real fullHeight: root.topPadding + title.implicitHeight + detail.implicitHeight + (root.hasButtons ? Tokens.sp6 + buttons.implicitHeight : 0) + root.bottomPadding

            onFullHeightChanged: if (root.hasButtons) root.heightWithButtons = fullHeight

            x: Tokens.sp8
            width: parent.width - 2 * x
            height: fullHeight
            clip: unfolding.running
            focus: true
            attention: root.isAttention
            Accessible.name: root.accessibleText
            onClicked: root.opened()
            onMenuRequested: position => root.menuRequested(card, position)
            Keys.onBacktabPressed: root.tabbedOut(false)

            Behavior on height {
                enabled: root.glides && !Tokens.reducedMotion

                NumberAnimation {
                    id: unfolding

                    duration: Tokens.rowMoveMs
                    easing.type: Easing.OutCubic
                }
            }

            SessionStateIcon {
                anchors.left: parent.left
                anchors.leftMargin: Tokens.sp8
                anchors.verticalCenter: title.verticalCenter
                kind: root.icon
                animated: root.animated
            }
            SessionTitleLine {
                id: title

                anchors.left: parent.left
                anchors.leftMargin: Tokens.sp32
                anchors.right: more.visible ? more.left : pie.left
                anchors.rightMargin: more.visible ? 0 : Tokens.sp8
                anchors.top: parent.top
                anchors.topMargin: root.topPadding
                name: root.name
                branch: root.branch
                added: root.linesAddedText
                removed: root.linesRemovedText
            }
            IconButton {
                id: more

                anchors.right: pie.left
                anchors.rightMargin: Tokens.sp2
                anchors.verticalCenter: title.verticalCenter
                visible: pointer.hovered || root.activeFocus
                size: Tokens.hitMin
                symbol: "three-dots"
                text: qsTr("More")
                onClicked: root.menuRequested(more, Qt.point(0, height))
                Keys.onTabPressed: event => {
                    event.accepted = !root.hasButtons;
                    if (event.accepted)
                        root.tabbedOut(true);
                }
            }
            ContextPie {
                id: pie

                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp8
                anchors.verticalCenter: title.verticalCenter
                opacity: root.contextUsed < 0 ? 0 : 1
                used: Math.max(0, root.contextUsed)
            }
            SessionDetailLine {
                id: detail

                anchors.left: title.left
                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp8
                anchors.top: title.bottom
                tool: root.showsPermission ? root.toolName : ""
                text: root.showsPermission ? root.toolDetail : root.showsQuestion ? qsTr("Waiting for your answer") : root.statusLine
                textColor: root.showsPermission ? Theme.text2 : root.showsQuestion ? Theme.accentText : Theme.text3
                elapsedText: root.elapsedText
            }
            Loader {
                id: buttons

                anchors.left: title.left
                anchors.right: detail.right
                anchors.top: detail.bottom
                anchors.topMargin: Tokens.sp6
                active: root.hasButtons
                sourceComponent: root.showsPermission ? permissionButtons : questionButtons
            }
        }
    }
    // The components below are part of this file alone, and see what stands around them.
    // qmllint disable unqualified
    Component {
        id: permissionButtons

        PermissionButtons {
            hasAlwaysAllow: root.hasAlwaysAllow
            allowPressed: root.allowPressed
            onAllowed: root.sessions.allow(root.sessionID)
            onDenied: root.sessions.deny(root.sessionID)
            onAlwaysAllowed: root.sessions.alwaysAllow(root.sessionID)
            onTabbedOut: root.tabbedOut(true)
        }
    }
    Component {
        id: questionButtons

        QuestionButtons {
            options: root.canAnswer ? root.options : []
            refusal: root.answerRefusal
            onAnswered: option => root.sessions.answer(root.sessionID, option)
            onViewed: root.opened()
            onTabbedOut: root.tabbedOut(true)
        }
    }
}
