#pragma once

#include <QString>

namespace vantry {

/// A message's text as its bubble shows it while it is folded.
struct FoldedText
{
    QString head; ///< The first lines, or the whole text where nothing is folded away.
    QString tail; ///< The last lines; empty where nothing is folded away.
    int hiddenLines { 0 };

    friend bool operator==(const FoldedText &, const FoldedText &) = default;
};

/// Folds a text of more than 10 lines: the first 4 and the last 4 stay. Lines end at any of Unicode's line ends; a CR
/// LF is one. Pure, any thread, linear.
[[nodiscard]] FoldedText foldLongText(const QString &text);

} // namespace vantry
