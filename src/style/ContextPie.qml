import QtQuick
import Vantry.Style

/// How much of an agent's context is used, in percent, as a small pie.
PieShape {
    size: Tokens.contextPieSize
    color: used >= 80 ? Theme.error : Theme.text3
    Accessible.ignored: true
}
