import QtQml

/// A tab of a `TabRow`.
QtObject {
    property string symbol
    property string title
}
