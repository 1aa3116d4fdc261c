#pragma once

#include "panels/MarkdownSegments.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace vantry {

/// A link within a block's html.
class MarkdownLink
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString text MEMBER text CONSTANT)
    Q_PROPERTY(QString url MEMBER url CONSTANT)
    Q_PROPERTY(int position MEMBER position CONSTANT)
    Q_PROPERTY(int length MEMBER length CONSTANT)

public:
    QString text; ///< As it is shown.
    QString url;
    int position = 0; ///< Where it begins in the document that the html makes.
    int length = 0;

    friend bool operator==(const MarkdownLink &, const MarkdownLink &) = default;
};

/// One segment of a message as a view shows it.
class MarkdownBlock
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(bool isCode MEMBER isCode CONSTANT)
    Q_PROPERTY(QString html MEMBER html CONSTANT)
    Q_PROPERTY(QString plain MEMBER plain CONSTANT)
    Q_PROPERTY(QVariantList links MEMBER links CONSTANT)
    Q_PROPERTY(QString lang MEMBER lang CONSTANT)
    Q_PROPERTY(QString code MEMBER code CONSTANT)

public:
    bool isCode = false;
    /// A text as rich text: all of it escaped, with no other tags than p, br, b, i, code, and a with an href. The view
    /// gives them their looks by a style sheet, which must keep white space (`white-space: pre-wrap`).
    QString html;
    QString plain;      ///< A text without its stars and backticks.
    QVariantList links; ///< A MarkdownLink for each link in it.
    QString lang;
    QString code;

    friend bool operator==(const MarkdownBlock &, const MarkdownBlock &) = default;
};

/// The text of one chat bubble: fenced code, inline code, three kinds of emphasis and links; all else is plain. Parsed
/// once, when it is made, whatever the text; a copy shares what was parsed. A value, any thread.
class MarkdownText
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(bool isUser READ isUser CONSTANT)
    Q_PROPERTY(QVariantList blocks READ blocks CONSTANT)

public:
    MarkdownText();
    MarkdownText(const QString &text, bool isUser);

    [[nodiscard]] QString text() const;
    /// Whether it stands in a bubble of the user's.
    [[nodiscard]] bool isUser() const;
    [[nodiscard]] const std::vector<Segment> &segments() const;
    /// A MarkdownBlock for each segment. Empty for a text of blank lines.
    [[nodiscard]] QVariantList blocks() const;
    /// What a screen reader says: all blocks, without markup.
    [[nodiscard]] QString plainText() const;

    friend bool operator==(const MarkdownText &left, const MarkdownText &right);

private:
    struct Parsed;
    std::shared_ptr<const Parsed> m_parsed;
};

} // namespace vantry
