import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// Blocks one below the other, which scroll when they are higher than the screen. The control with the keyboard's focus
/// is scrolled into view.
Flickable {
    id: root

    property real margins: Tokens.sp12
    property real marginAbove: margins
    property alias spacing: column.spacing
    readonly property alias columnHeight: column.implicitHeight
    /// What lies under it.
    property alias ground: fade.ground
    default property alias blocks: column.data
    readonly property Item focusItem: Window.activeFocusItem

    /// Whether an item stands in the column.
    function holds(item: Item): bool {
        return item !== null && (item === column || holds(item.parent));
    }

    /// Scrolls an item of the column into view.
    function show(item: Item) {
        const top = item.mapToItem(contentItem, 0, 0).y - margins;
        const bottom = top + item.height + 2 * margins;
        contentY = Math.max(0, Math.min(top, Math.max(contentY, bottom - height)));
    }

    clip: true
    contentWidth: width
    contentHeight: column.implicitHeight + column.y + margins
    boundsBehavior: Flickable.StopAtBounds
    T.ScrollBar.vertical: ThinScrollBar {}
    onFocusItemChanged: {
        if (holds(focusItem))
            show(focusItem);
    }

    Column {
        id: column

        x: root.margins
        y: root.marginAbove
        width: root.width - 2 * x
        spacing: Tokens.sp12
    }
    EdgeFade {
        id: fade

        parent: root
        anchors.bottom: parent.bottom
        x: root.margins
        width: parent.width - 2 * x
        visible: !root.atYEnd
    }
}
