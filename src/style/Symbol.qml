import QtQuick
import Vantry.Style

/// A symbol of the design, by its name.
SymbolShape {
    size: Tokens.iconRegular
    color: Theme.text2
    Accessible.ignored: true
}
