#pragma once

#include "panels/MarkdownInline.h"

#include <QRegularExpression>

namespace vantry::test {

/// What the expression of `EmphasisScanner` matches, by an engine. Engines differ in what "." and "\s" stand for, so
/// these are written as the characters that are meant.
inline std::vector<EmphasisScanner::Match> matchEmphasis(const QString &text)
{
    static const QRegularExpression expression = [] {
        QString pattern = QStringLiteral(
            R"((`[^`]+`|\*{3}(?!\s)(.+?)(?<!\s)\*{3}|\*{2}(?!\s)(.+?)(?<!\s)\*{2}|\*(?!\s)(.+?)(?<!\s)\*))");
        pattern.replace(
            QStringLiteral("\\s"),
            QStringLiteral(
                R"([\x09-\x0d\x20\x85\xa0\x{1680}\x{2000}-\x{200a}\x{2028}\x{2029}\x{202f}\x{205f}\x{3000}])"));
        pattern.replace(QStringLiteral(".+?"), QStringLiteral(R"([^\x0a-\x0d\x85\x{2028}\x{2029}]+?)"));
        return QRegularExpression(pattern);
    }();
    std::vector<EmphasisScanner::Match> matches;
    for (auto found = expression.globalMatch(text); found.hasNext();) {
        const auto match = found.next();
        matches.push_back({ match.capturedStart(), match.capturedEnd() });
    }
    return matches;
}

} // namespace vantry::test
