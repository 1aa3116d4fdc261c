import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The rows of the session list under the headers of their sections, of which the one in view sticks to the top edge.
/// Up and Down go from row to row, Tab through the controls of each.
ListView {
    id: root

    required property SessionListModel sessions
    /// Whether what changes may be seen to move.
    required property bool animated
    /// The first section's header has left the view.
    readonly property bool isScrolled: count > 0 && contentY > originY + headerItem.height

    readonly property SessionRow currentRow: currentItem as SessionRow
    /// Where the header of each section is drawn, so that it goes on from there when another row bears it.
    property var headerPlaces: ({})
    /// The rows have just come to stand in another order, or in other sections.
    readonly property bool isChanging: animated && changeNote.running

    signal newSessionRequested
    signal opened(string sessionID)
    signal menuRequested(string sessionID, Item item, point position)
    /// Tab goes out of the list.
    signal tabbedOut(bool forward)

    /// Where the header at the top edge stands: the next section's own header pushes it out.
    function stickyPlace(): real {
        const row = itemAt(0, contentY + stickyHeader.height) as SessionRow;
        const next = row && row.isFirst ? row.y - contentY : -1;
        return next < 0 ? 0 : Math.min(0, next - stickyHeader.height);
    }

    /// Gives the focus to a row, or to the last control in it, and brings it out from under what lies over the edges.
    function focusRow(index: int, last: bool) {
        currentIndex = index;
        positionViewAtIndex(index, ListView.Contain);
        const highest = currentRow.y - (currentRow.isFirst ? 0 : stickyHeader.height);
        const lowest = currentRow.y + currentRow.height + fade.height - height;
        const end = originY + contentHeight - height;
        contentY = Math.max(originY, Math.min(highest, Math.max(contentY, Math.min(lowest, end))));
        if (last)
            currentRow.focusLast();
        else
            currentRow.focusRow();
    }

    function focusNewSession() {
        positionViewAtBeginning();
        headerItem.forceActiveFocus(Qt.TabFocusReason);
    }

    function focusLast() {
        leaveRow(count, false);
    }

    /// Where Tab goes from a row; the one before the first is "New Session".
    function leaveRow(index: int, forward: bool) {
        const next = forward ? index + 1 : index - 1;
        if (next >= count || next < -1)
            tabbedOut(forward);
        else if (next === -1)
            focusNewSession();
        else
            focusRow(next, !forward);
    }

    function forgetHeader(section: string, count: int) {
        if (count === 0)
            delete headerPlaces[section];
    }

    clip: true
    model: sessions
    currentIndex: -1
    reuseItems: true
    keyNavigationEnabled: false
    highlightFollowsCurrentItem: false
    boundsBehavior: Flickable.StopAtBounds
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Sessions")
    T.ScrollBar.vertical: ThinScrollBar {}

    Keys.onUpPressed: currentIndex > 0 ? focusRow(currentIndex - 1, false) : focusNewSession()
    Keys.onDownPressed: event => {
        event.accepted = currentIndex + 1 < count;
        if (event.accepted)
            focusRow(currentIndex + 1, false);
    }
    // The next row takes the focus of one that has left.
    onCurrentRowChanged: if (activeFocus && currentRow) currentRow.showFocus()

    remove: Transition {
        enabled: root.animated

        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Tokens.rowMoveMs
            easing.type: Easing.OutCubic
        }
    }

    Connections {
        target: root.sessions

        function onRowsInserted() {
            changeNote.restart();
        }
        function onRowsMoved() {
            changeNote.restart();
        }
        // A section that comes again later doesn't come from where it was once.
        function onAttentionCountChanged() {
            root.forgetHeader("attention", root.sessions.attentionCount);
        }
        function onReadyCountChanged() {
            root.forgetHeader("ready", root.sessions.readyCount);
        }
        function onWorkingCountChanged() {
            root.forgetHeader("working", root.sessions.workingCount);
        }
    }
    PauseAnimation {
        id: changeNote

        duration: Tokens.rowMoveMs
    }

    // What stands in components below is part of this list alone, and sees it.
    // qmllint disable unqualified
    header: FocusScope {
        width: root.width
        height: Tokens.sp6 + Tokens.newSessionRowHeight

        NewSessionRow {
            x: Tokens.sp8
            y: Tokens.sp6
            width: parent.width - 2 * x
            focus: true
            onClicked: root.newSessionRequested()
            Keys.onDownPressed: root.leaveRow(-1, true)
            Keys.onTabPressed: root.leaveRow(-1, true)
            Keys.onBacktabPressed: root.leaveRow(-1, false)
        }
    }
    section.property: "section"
    delegate: SessionRow {
        width: root.width
        sessions: root.sessions
        animated: root.animated
        comesWithChange: root.isChanging
        headerPlaces: root.headerPlaces
        onOpened: root.opened(sessionID)
        onMenuRequested: (item, position) => root.menuRequested(sessionID, item, position)
        onTabbedOut: forward => root.leaveRow(index, forward)
        onActiveFocusChanged: if (activeFocus) root.currentIndex = index
    }

    Rectangle {
        id: stickyHeader

        y: root.isScrolled ? root.stickyPlace() : 0
        width: root.width
        height: Tokens.sectionHeaderHeight + Tokens.sp2
        visible: root.isScrolled
        color: Theme.bg

        Loader {
            active: root.isScrolled
            anchors.fill: parent
            sourceComponent: SessionSectionHeader {
                sessions: root.sessions
                name: root.currentSection
            }
        }
        Hairline {
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }
    EdgeFade {
        id: fade

        anchors.bottom: parent.bottom
        width: root.width
        visible: !root.atYEnd
    }
}
