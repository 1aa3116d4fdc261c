#pragma once

#include <QString>
#include <QStringView>

#include <string>
#include <string_view>

namespace vantry {

// Rules about text that several folders share. Pure functions, any thread. A "character" is a user-perceived one
// (Unicode's extended grapheme cluster; CR LF is one).

/// Whether the text has more than `limit` characters. Reads no further than it must.
[[nodiscard]] bool hasMoreCharactersThan(QStringView text, qsizetype limit);
/// The first `count` characters, or all where there are fewer.
[[nodiscard]] QStringView firstCharacters(QStringView text, qsizetype count);
/// Without whitespace and line breaks (Unicode's) at both ends.
[[nodiscard]] QStringView trimmedWhitespace(QStringView text);
/// What stands behind the last "/"; slashes at the path's end don't count. "/" itself for the root.
[[nodiscard]] QString lastPathComponent(QStringView path);
/// Control characters (C0, DEL, C1, U+2028, U+2029) written as escapes, so that text from outside stays on one line and
/// can't steer a terminal. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string escapeControlCharacters(std::string_view utf8);

} // namespace vantry
