import QtQuick
import Vantry.DynamicNotchKit

/// Notch surfaces side by side, each at the top of a desktop of its own.
Rectangle {
    id: root

    required property var cells
    required property bool isDark
    readonly property int columns: cells.length > 8 ? 5 : 4

    implicitWidth: columns * 490
    implicitHeight: Math.ceil(cells.length / columns) * 524
    color: isDark ? "#0D0E10" : "#D9DCE4"

    Grid {
        columns: root.columns

        Repeater {
            model: root.cells

            Item {
                id: cell

                required property var modelData

                width: 490
                height: 524

                Rectangle {
                    width: parent.width - 2
                    height: 500
                    clip: true
                    gradient: Gradient {
                        GradientStop {
                            position: 0
                            color: root.isDark ? "#2B2F38" : "#FFFFFF"
                        }
                        GradientStop {
                            position: 1
                            color: root.isDark ? "#17181C" : "#B8C4D8"
                        }
                    }

                    NotchContentView {
                        width: 490
                        height: parent.height
                        surface: cell.modelData.surface
                    }
                }
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    y: 504
                    font.pixelSize: 12
                    color: root.isDark ? "#ECEDEF" : "#1A1C20"
                    text: cell.modelData.label
                }
            }
        }
    }
}
