import QtQuick
import Vantry.Style

/// How far from its place something stands that a list has just put elsewhere: it comes from where it was. So a list
/// may lay out at once and yet be seen to move, whatever the reason.
QtObject {
    id: root

    /// Where it belongs.
    required property real place
    /// Whether it moves there; else it stands there at once.
    required property bool enabled
    property real offset: 0
    /// Where it is drawn.
    readonly property real shown: place + offset
    property real lastPlace: place
    readonly property NumberAnimation movement: NumberAnimation {
        target: root
        property: "offset"
        to: 0
        duration: Tokens.rowMoveMs
        easing.type: Easing.OutCubic
    }

    function start(distance: real) {
        movement.stop();
        offset = enabled && Tokens.rowMoveMs > 0 ? distance : 0;
        if (offset !== 0)
            movement.start();
    }

    onPlaceChanged: {
        const distance = offset + lastPlace - place;
        lastPlace = place;
        start(distance);
    }
}
