import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The projects in which a session can be begun. The arrow keys choose a row while the caret stays in the field.
FocusScope {
    id: root

    required property ProjectPickerModel model

    signal back

    Keys.onUpPressed: model.moveUp()
    Keys.onDownPressed: model.moveDown()

    Shortcut {
        enabled: root.enabled
        sequence: "Ctrl+F"
        onActivated: field.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    Connections {
        target: root.model

        function onSelectionIndexChanged() {
            if (root.model.selectionIndex >= 0)
                list.positionViewAtIndex(root.model.selectionIndex, ListView.Contain);
        }
    }
    ScreenHeader {
        id: header

        width: parent.width
        title: qsTr("New Session")
        showBack: true
        onBack: root.back()
    }
    SearchField {
        id: field

        anchors.top: header.bottom
        anchors.topMargin: Tokens.sp8
        x: Tokens.sp12
        width: parent.width - 2 * x
        focus: true
        placeholder: qsTr("Search projects...")
        text: root.model.searchText
        onTextChanged: root.model.searchText = text
        // Here, so that the key doesn't go on to the list.
        Keys.onReturnPressed: root.model.submit()
        Keys.onEnterPressed: root.model.submit()
    }
    ListView {
        id: list

        anchors.top: field.bottom
        anchors.topMargin: Tokens.sp8
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        model: root.model
        currentIndex: -1
        reuseItems: true
        keyNavigationEnabled: false
        boundsBehavior: Flickable.StopAtBounds
        bottomMargin: Tokens.sp8
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Projects")
        T.ScrollBar.vertical: ThinScrollBar {}

        // The components below are part of this file alone, and see what stands around them.
        // qmllint disable unqualified
        delegate: ProjectPickerRow {
            width: list.width
            isHighlighted: root.model.selectionIndex === index
            onOpened: root.model.open(index)
        }
    }
    EdgeFade {
        anchors.bottom: list.bottom
        x: Tokens.sp12
        width: parent.width - 2 * x
        visible: !list.atYEnd
    }
    EmptyState {
        anchors.centerIn: list
        width: parent.width
        visible: title !== ""
        symbol: root.model.emptySymbol
        title: root.model.emptyTitle
        caption: root.model.emptyCaption
    }
}
