import QtQuick
import Vantry.Style

/// How far one has come: a dot for each step, the present one longer.
Row {
    id: root

    required property int count
    required property int current

    spacing: Tokens.sp6
    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("Step %1 of %2").arg(current + 1).arg(count)

    Repeater {
        model: root.count

        Rectangle {
            required property int index

            width: index === root.current ? 16 : 6
            height: 6
            radius: 3
            color: index === root.current ? Theme.text : index < root.current ? Theme.text3 : Theme.lineStrong
        }
    }
}
