#pragma once

#include <QString>
#include <QStringView>

#include <vector>

namespace vantry {

/// A stretch of a message: running text, or a fenced block of code.
struct Segment
{
    enum class Kind { text, codeBlock };

    Kind kind;
    QString text; ///< Of a text.
    QString lang; ///< Of a code block: what stands behind its opening fence, "" for nothing.
    QString code; ///< Of a code block.

    friend bool operator==(const Segment &, const Segment &) = default;
};

/// Cuts a message at its fences ("```"). Blank stretches between blocks give no segment, and a block that isn't closed
/// yet is a block already. Pure, any thread, linear in the text's length.
[[nodiscard]] std::vector<Segment> splitSegments(QStringView text);

/// Without line ends (Unicode's) at both ends; blanks stay.
[[nodiscard]] QStringView trimmedLineEnds(QStringView text);
/// Whether it ends a line: LF, VT, FF, CR, NEL, LINE SEPARATOR, PARAGRAPH SEPARATOR.
[[nodiscard]] bool isLineEnd(QChar character);

} // namespace vantry
