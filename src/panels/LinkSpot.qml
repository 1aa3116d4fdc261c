import QtQuick
import Vantry.Style

/// What makes a link of a text reachable by keyboard and for assistive programs. It lies over the link's beginning, up
/// to where its line ends.
Rectangle {
    id: root

    required property var modelData

    readonly property TextEdit edit: parent as TextEdit
    property rect begin
    property rect end

    /// The text comes after its links.
    function place() {
        if (edit.length < modelData.position + modelData.length)
            return;
        begin = edit.positionToRectangle(modelData.position);
        end = edit.positionToRectangle(modelData.position + modelData.length);
    }

    x: begin.x
    y: begin.y
    width: (end.y === begin.y ? end.x : edit.width) - begin.x
    height: begin.height
    activeFocusOnTab: true
    color: "transparent"
    radius: Tokens.radiusChip
    border.width: activeFocus ? Tokens.focusRingWidth : 0
    border.color: Theme.focus
    Accessible.role: Accessible.Link
    Accessible.name: modelData.text
    Accessible.focusable: true
    Accessible.onPressAction: edit.linkActivated(modelData.url)
    Keys.onReturnPressed: edit.linkActivated(modelData.url)
    Keys.onEnterPressed: edit.linkActivated(modelData.url)
    Component.onCompleted: place()

    Connections {
        target: root.edit

        function onContentSizeChanged() {
            root.place();
        }
        function onWidthChanged() {
            root.place();
        }
    }
}
