import QtQuick
import Vantry.Style

/// The program's mark.
MarkShape {
    size: Tokens.iconRegular
    color: Theme.text
    Accessible.ignored: true
}
