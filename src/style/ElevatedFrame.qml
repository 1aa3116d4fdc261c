import QtQuick
import Vantry.Style

/// What floats: a surface with an outline and a shadow. The shadow reaches beyond the item by shadowMargin.
Item {
    id: root

    property string elevation: "menu"
    property real radius: Tokens.radiusRow
    property color color: Theme.raised
    property alias borderColor: surface.border.color
    readonly property alias shadowMargin: shadow.margin
    default property alias content: surface.data

    ShadowShape {
        id: shadow

        anchors.fill: parent
        elevation: root.elevation
        radius: root.radius
        color: Theme.shadow
        isOnDark: Theme.name !== "light"
        Accessible.ignored: true
    }
    Rectangle {
        id: surface

        anchors.fill: parent
        radius: root.radius
        color: root.color
        border.width: Tokens.borderWidth
        border.color: Theme.lineStrong
    }
}
