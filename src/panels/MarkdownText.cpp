#include "panels/MarkdownText.h"

#include "panels/MarkdownInline.h"

#include <QStringList>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

/// Text for rich text. Line ends become tags, so that all renderers agree on them; what a text document keeps for
/// itself, or can't hold, becomes U+FFFD.
QString escaped(QStringView text)
{
    QString html;
    html.reserve(text.size() + text.size() / 8);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const char16_t unit = c.unicode();
        const bool isReserved = unit == 0xFFFC || (unit >= 0xFDD0 && unit <= 0xFDEF) || unit >= 0xFFFE;
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            continue;
        if (isLineEnd(c))
            html += u"<br/>"_s;
        else if (c == u'<')
            html += u"&lt;"_s;
        else if (c == u'>')
            html += u"&gt;"_s;
        else if (c == u'&')
            html += u"&amp;"_s;
        else if (c == u'"')
            html += u"&quot;"_s;
        else if (isReserved || (c.category() == QChar::Other_Control && c != u'\t'))
            html += QChar::ReplacementCharacter;
        else
            html += c;
    }
    return html;
}

/// How many characters a document has for the text: CR LF is one line end.
qsizetype shownLength(QStringView text)
{
    return text.size() - text.count(u"\r\n");
}

QString htmlOf(const InlinePart &part)
{
    QString text = escaped(part.text);
    switch (part.kind) {
    case InlinePart::Kind::plain:
        return text;
    case InlinePart::Kind::code:
        return u"<code>"_s + text + u"</code>"_s;
    case InlinePart::Kind::bold:
        return u"<b>"_s + text + u"</b>"_s;
    case InlinePart::Kind::italic:
        return u"<i>"_s + text + u"</i>"_s;
    case InlinePart::Kind::boldItalic:
        return u"<b><i>"_s + text + u"</i></b>"_s;
    case InlinePart::Kind::link:
        return u"<a href=\""_s + escaped(part.url.toString(QUrl::FullyEncoded)) + u"\">"_s + text + u"</a>"_s;
    }
    return text;
}

MarkdownBlock blockOf(const Segment &segment)
{
    MarkdownBlock block;
    if (segment.kind == Segment::Kind::codeBlock) {
        block.isCode = true;
        block.lang = segment.lang;
        block.code = segment.code;
        return block;
    }
    block.html = u"<p>"_s;
    qsizetype position = 0;
    for (const InlinePart &part : splitInline(segment.text)) {
        block.html += htmlOf(part);
        block.plain += part.text;
        const qsizetype length = shownLength(part.text);
        if (part.kind == InlinePart::Kind::link)
            block.links.append(
                QVariant::fromValue(MarkdownLink { part.text, part.url.toString(QUrl::FullyEncoded),
                                                   static_cast<int>(position), static_cast<int>(length) }));
        position += length;
    }
    block.html += u"</p>"_s;
    return block;
}

} // namespace

struct MarkdownText::Parsed
{
    QString text;
    bool isUser;
    std::vector<Segment> segments;
    QVariantList blocks;
};

MarkdownText::MarkdownText()
    : MarkdownText(QString(), false)
{}

MarkdownText::MarkdownText(const QString &text, bool isUser)
{
    auto parsed = std::make_shared<Parsed>(Parsed { text, isUser, splitSegments(text), {} });
    for (const Segment &segment : parsed->segments)
        parsed->blocks.append(QVariant::fromValue(blockOf(segment)));
    m_parsed = std::move(parsed);
}

QString MarkdownText::text() const
{
    return m_parsed->text;
}

bool MarkdownText::isUser() const
{
    return m_parsed->isUser;
}

const std::vector<Segment> &MarkdownText::segments() const
{
    return m_parsed->segments;
}

QVariantList MarkdownText::blocks() const
{
    return m_parsed->blocks;
}

QString MarkdownText::plainText() const
{
    QStringList texts;
    for (const QVariant &variant : m_parsed->blocks) {
        const auto block = variant.value<MarkdownBlock>();
        texts.append(block.isCode ? block.code : block.plain);
    }
    return texts.join(u'\n');
}

bool operator==(const MarkdownText &left, const MarkdownText &right)
{
    return left.m_parsed == right.m_parsed || (left.text() == right.text() && left.isUser() == right.isUser());
}

} // namespace vantry
