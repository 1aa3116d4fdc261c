import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A menu. It stays inside its window, and gives the focus back to the item that had it.
T.Menu {
    id: root

    readonly property real widestItem: Array.from({
        length: count
    }, (_, index) => itemAt(index).implicitWidth).reduce((a, b) => Math.max(a, b), 160)
    property Item focusBefore: null
    property int focusReason: Qt.PopupFocusReason

    function keepFocus() {
        focusBefore = parent.Window.activeFocusItem;
        focusReason = (focusBefore as T.Control)?.visualFocus ? Qt.TabFocusReason : Qt.PopupFocusReason;
    }

    // What was chosen may have given the focus away already.
    function returnFocus() {
        const now = parent.Window.activeFocusItem;
        if (focusBefore !== null && (now === null || now === parent.Window.contentItem))
            focusBefore.forceActiveFocus(focusReason);
        focusBefore = null;
    }

    onAboutToShow: keepFocus()
    onClosed: returnFocus()

    implicitWidth: widestItem + leftPadding + rightPadding
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: Tokens.sp4 + 1
    margins: Tokens.sp8
    overlap: 0
    scale: Tokens.textScale
    transformOrigin: T.Popup.TopLeft

    delegate: PopupMenuItem {}
    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: contentHeight > height
        clip: interactive
        currentIndex: root.currentIndex
    }
    background: ElevatedFrame {
        elevation: "menu"
        radius: Tokens.radiusRow
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Tokens.hoverMs
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: Tokens.pressMs
        }
    }
}
