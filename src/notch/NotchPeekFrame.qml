import QtQuick
import Vantry.Notch
import Vantry.Style

/// What the peek card's window holds: the card in its text scale, with a shadow where windows can be translucent. The
/// card fades in and out.
Item {
    id: root

    required property NotchPeekPanel panel
    readonly property real margin: panel.shadowMargin

    function open() {
        fadeOut.stop();
        surface.opacity = 0;
        fadeIn.restart();
        if (panel.card !== null)
            announcer.announce(panel.card.accessibleText);
    }

    Connections {
        target: root.panel

        function onOpened() {
            root.open();
        }
        function onIsOpenChanged() {
            if (root.panel.isOpen)
                return;
            fadeIn.stop();
            fadeOut.restart();
        }
    }
    Announcer {
        id: announcer
    }
    Item {
        id: surface

        objectName: "surface"
        x: root.margin
        y: root.margin
        width: (root.width - 2 * root.margin) / Tokens.textScale
        height: (root.height - 2 * root.margin) / Tokens.textScale
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft
        enabled: root.panel.isOpen

        ShadowShape {
            anchors.fill: parent
            visible: root.margin > 0
            elevation: "panel"
            radius: Tokens.radiusPeek
            color: Theme.shadow
            isOnDark: true
            Accessible.ignored: true
        }
        Loader {
            anchors.fill: parent
            active: root.panel.card !== null
            sourceComponent: NotchPeekCard {
                objectName: "card"
                card: root.panel.card
            }
        }
    }
    NumberAnimation {
        id: fadeIn

        target: surface
        property: "opacity"
        to: 1
        duration: Tokens.reducedMotion ? Math.min(100, root.panel.fadeInMs) : root.panel.fadeInMs
        easing.type: Easing.OutQuad
    }
    NumberAnimation {
        id: fadeOut

        target: surface
        property: "opacity"
        to: 0
        duration: Tokens.reducedMotion ? Math.min(100, root.panel.fadeOutMs) : root.panel.fadeOutMs
        easing.type: Easing.InQuad
    }
}
