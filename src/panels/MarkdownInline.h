#pragma once

#include <QString>
#include <QStringView>
#include <QUrl>

#include <array>
#include <optional>
#include <vector>

namespace vantry {

/// A stretch of running text with one style.
struct InlinePart
{
    enum class Kind { plain, code, bold, italic, boldItalic, link };

    Kind kind;
    QString text;  ///< As it is shown.
    QUrl url = {}; ///< Of a link.

    friend bool operator==(const InlinePart &, const InlinePart &) = default;
};

/// The text as code, emphasis, links and what is plain. Emphasis is taken out first, links are looked for in the plain
/// rest. Stars that don't stand close about a text on both sides are plain: `** word **`, `***`, `**word*`. There is
/// always one part at least. Pure, any thread, linear in the text's length.
[[nodiscard]] std::vector<InlinePart> splitInline(const QString &text);

/// Finds code and emphasis: exactly the matches of
///
///     (`[^`]+`|\*{3}(?!\s)(.+?)(?<!\s)\*{3}|\*{2}(?!\s)(.+?)(?<!\s)\*{2}|\*(?!\s)(.+?)(?<!\s)\*)
///
/// one after the other, where "\s" is Unicode's White_Space and "." is anything but a line end (`isLineEnd`). An
/// engine with backtracking is quadratic here, on lines such as `*a *a *a`; this is linear, since the next possible
/// closing stars are looked for once for the whole text. Reads the text it was made with, which must stay.
class EmphasisScanner
{
public:
    struct Match
    {
        qsizetype begin;
        qsizetype end;
        friend bool operator==(const Match &, const Match &) = default;
    };

    explicit EmphasisScanner(QStringView text);

    [[nodiscard]] std::optional<Match> next();
    /// How many characters have been looked at so far: what its cost is measured by.
    [[nodiscard]] qsizetype steps() const { return m_steps; }

private:
    std::optional<Match> codeAt(qsizetype begin);
    std::optional<Match> emphasisAt(qsizetype begin, qsizetype stars);
    qsizetype closerFrom(qsizetype position, qsizetype stars);
    qsizetype lineEndFrom(qsizetype position);
    [[nodiscard]] bool hasStars(qsizetype position, qsizetype stars) const;
    [[nodiscard]] bool isSpace(qsizetype position) const;

    QStringView m_text;
    qsizetype m_position = 0;
    std::array<qsizetype, 4> m_closers {}; ///< By the number of stars: no closer stands between the search and it.
    qsizetype m_lineEnd = 0;               ///< The same, for the end of the line.
    qsizetype m_steps = 0;
};

} // namespace vantry
