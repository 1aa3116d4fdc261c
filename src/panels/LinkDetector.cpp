#include "panels/LinkDetector.h"

#include <QString>

#include <algorithm>
#include <array>

namespace vantry {
namespace {

constexpr std::array<QStringView, 5> bareDomains { u"com", u"org", u"net", u"io", u"dev" };
constexpr QStringView openBrackets = u"([{";
constexpr QStringView closeBrackets = u")]}";

bool isLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLetterOrDigit(QChar c)
{
    return isLetter(c) || isDigit(c);
}

/// What a domain, a scheme or the front part of an e-mail address is made of.
bool isWordCharacter(QChar c)
{
    return isLetterOrDigit(c) || QStringView(u".-_+%").contains(c);
}

/// Whether the character and a Latin one beside it are one word. In scripts that put no blanks between words, not.
bool joinsWords(QChar c)
{
    if (!c.isLetterOrNumber())
        return c == u'_';
    const QChar::Script script = c.script();
    return script != QChar::Script_Han && script != QChar::Script_Hiragana && script != QChar::Script_Katakana;
}

bool endsUrl(QChar c)
{
    if (c.unicode() < 0x80)
        return c.unicode() <= 0x20 || c.unicode() == 0x7F || QStringView(u"<>\"`|\\^").contains(c);
    const auto within = [c](char16_t first, char16_t last) { return c.unicode() >= first && c.unicode() <= last; };
    const bool isWidePunctuation =
        within(0x3000, 0x303F) || within(0xFF01, 0xFF0F) || within(0xFF1A, 0xFF20) || within(0xFF3B, 0xFF40);
    return c.isSpace() || c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
           c.category() == QChar::Punctuation_InitialQuote || c.category() == QChar::Punctuation_FinalQuote ||
           isWidePunctuation;
}

bool isTrailingPunctuation(QChar c)
{
    return QStringView(u".,:;!?'*_~\u2026").contains(c);
}

/// "name.name", each of letters, digits and inner "-", the last one of letters alone.
bool isDomain(QStringView text)
{
    if (text.size() > 253 || !text.contains(u'.'))
        return false;
    QStringView label;
    for (QStringView rest = text;;) {
        const qsizetype dot = rest.indexOf(u'.');
        label = dot < 0 ? rest : rest.first(dot);
        if (label.isEmpty() || label.startsWith(u'-') || label.endsWith(u'-'))
            return false;
        if (!std::all_of(label.begin(), label.end(), [](QChar c) { return isLetterOrDigit(c) || c == u'-'; }))
            return false;
        if (dot < 0)
            break;
        rest = rest.sliced(dot + 1);
    }
    return label.size() >= 2 && std::all_of(label.begin(), label.end(), isLetter);
}

bool isBareDomain(QStringView domain)
{
    const QStringView last = domain.sliced(domain.lastIndexOf(u'.') + 1);
    return std::any_of(bareDomains.begin(), bareDomains.end(),
                       [last](QStringView known) { return last.compare(known, Qt::CaseInsensitive) == 0; });
}

bool is(QStringView word, QStringView name)
{
    return word.compare(name, Qt::CaseInsensitive) == 0;
}

} // namespace

LinkDetector::LinkDetector(QStringView text)
    : m_text(text)
{}

std::optional<LinkDetector::Link> LinkDetector::next()
{
    while (m_position < m_text.size()) {
        ++m_steps;
        if (!isLetterOrDigit(m_text[m_position])) {
            ++m_position;
            continue;
        }
        const qsizetype begin = m_position;
        const qsizetype end = endOfWord(begin);
        m_position = end;
        if (begin > 0 && joinsWords(m_text[begin - 1]))
            continue;
        if (auto found = linkAt(begin, end)) {
            m_position = found->end;
            if (found->url.isValid())
                return found;
        }
    }
    return std::nullopt;
}

/// A character that is no part of anything, where there is none.
QChar LinkDetector::at(qsizetype position) const
{
    return position >= 0 && position < m_text.size() ? m_text[position] : QChar(u' ');
}

qsizetype LinkDetector::endOfWord(qsizetype begin)
{
    qsizetype end = begin;
    while (end < m_text.size() && isWordCharacter(m_text[end]))
        ++end;
    m_steps += end - begin;
    return end;
}

/// The link that the word from `begin` to `end` begins, valid or not.
std::optional<LinkDetector::Link> LinkDetector::linkAt(qsizetype begin, qsizetype end)
{
    const QStringView word = m_text.sliced(begin, end - begin);
    if (m_text.sliced(end).startsWith(u"://")) {
        const bool isFile = is(word, u"file");
        if (isFile || is(word, u"http") || is(word, u"https"))
            return withScheme(begin, end + 3, isFile);
        return std::nullopt;
    }
    if (at(end) == u':' && is(word, u"mailto")) {
        const qsizetype local = end + 1;
        const qsizetype atSign = endOfWord(local);
        return at(atSign) == u'@' ? address(begin, local, atSign) : std::nullopt;
    }
    if (at(end) == u'@')
        return address(begin, begin, end);
    return domain(begin, end);
}

std::optional<LinkDetector::Link> LinkDetector::withScheme(qsizetype begin, qsizetype authority, bool isFile)
{
    const QChar first = at(authority);
    if (isFile ? first != u'/' : !(first == u'[' || first.isLetterOrNumber()))
        return std::nullopt;
    const qsizetype end = endOfUrl(begin, authority);
    if (end <= authority)
        return std::nullopt;
    return link(begin, end, {});
}

/// `begin` is where the link begins, which may be a "mailto:" before the address.
std::optional<LinkDetector::Link> LinkDetector::address(qsizetype begin, qsizetype local, qsizetype atSign)
{
    const QStringView name = m_text.sliced(local, atSign - local);
    if (name.isEmpty() || name.size() > 64 || !isLetterOrDigit(name.front()) || name.endsWith(u'.') ||
        at(local - 1) == u'@')
        return std::nullopt;
    qsizetype end = endOfWord(atSign + 1);
    while (QStringView(u".-_").contains(at(end - 1)))
        --end;
    if (!isDomain(m_text.sliced(atSign + 1, end - atSign - 1)) || joinsWords(at(end)) || at(end) == u'@')
        return std::nullopt;
    if (at(end) == u':' && !at(end + 1).isSpace())
        return std::nullopt;
    return link(begin, end, local == begin ? QStringView(u"mailto:") : QStringView());
}

std::optional<LinkDetector::Link> LinkDetector::domain(qsizetype begin, qsizetype end)
{
    if (QStringView(u"/\\.-@~$#&%+").contains(at(begin - 1)))
        return std::nullopt;
    qsizetype domainEnd = end;
    while (domainEnd > begin && m_text[domainEnd - 1] == u'.')
        --domainEnd;
    const QStringView name = m_text.sliced(begin, domainEnd - begin);
    if (!isDomain(name))
        return std::nullopt;

    const qsizetype tail = endOfPort(domainEnd);
    if (at(tail) == u'/') {
        const qsizetype urlEnd = endOfUrl(begin, tail + 1);
        if (urlEnd > tail + 1)
            return link(begin, urlEnd, u"http://");
    }
    const bool isWeb = name.startsWith(u"www.", Qt::CaseInsensitive) && name.count(u'.') >= 2;
    if (!isWeb && !isBareDomain(name))
        return std::nullopt;
    const QChar next = at(tail);
    if (next == u'/')
        return link(begin, tail + 1, u"http://");
    if (next == u'?' || next == u'#')
        return link(begin, std::max(endOfUrl(begin, tail), tail), u"http://");
    if (joinsWords(next) || next == u'(' || next == u'@')
        return std::nullopt;
    return link(begin, tail, u"http://");
}

std::optional<LinkDetector::Link> LinkDetector::link(qsizetype begin, qsizetype end, QStringView prefix)
{
    m_steps += end - begin;
    return Link { begin, end, QUrl(prefix.toString() + m_text.sliced(begin, end - begin).toString()) };
}

qsizetype LinkDetector::endOfPort(qsizetype position) const
{
    if (at(position) != u':')
        return position;
    qsizetype end = position + 1;
    while (end - position <= 5 && isDigit(at(end)))
        ++end;
    return end == position + 1 || isLetterOrDigit(at(end)) ? position : end;
}

/// Where the URL that begins at `begin` ends, when it is sure up to `position`; may be before that.
qsizetype LinkDetector::endOfUrl(qsizetype begin, qsizetype position)
{
    const QChar quote = at(begin - 1) == u'\'' ? QChar(u'\'') : QChar();
    if (begin >= m_pairsBegin + static_cast<qsizetype>(m_partners.size()))
        pairBrackets(begin);
    const qsizetype limit = m_pairsBegin + static_cast<qsizetype>(m_partners.size());
    qsizetype end = position;
    for (; end < limit; ++end) {
        ++m_steps;
        const QChar c = m_text[end];
        if (!quote.isNull() && c == quote)
            break;
        const bool isBracket = openBrackets.contains(c) || closeBrackets.contains(c);
        if (isBracket && m_partners[static_cast<std::size_t>(end - m_pairsBegin)] < begin)
            break;
    }
    while (end > position && isTrailingPunctuation(m_text[end - 1]))
        --end;
    return end;
}

/// Pairs the brackets from `begin` up to where any link ends. A bracket that closes none leaves all that are open
/// without a partner, so that no pair reaches over one that has none.
void LinkDetector::pairBrackets(qsizetype begin)
{
    m_pairsBegin = begin;
    m_partners.clear();
    std::vector<qsizetype> open;
    for (qsizetype i = begin; i < m_text.size() && !endsUrl(m_text[i]); ++i) {
        ++m_steps;
        m_partners.push_back(-1);
        if (openBrackets.contains(m_text[i])) {
            open.push_back(i);
            continue;
        }
        const qsizetype kind = closeBrackets.indexOf(m_text[i]);
        if (kind < 0)
            continue;
        if (open.empty() || m_text[open.back()] != openBrackets[kind]) {
            open.clear();
            continue;
        }
        m_partners.back() = open.back();
        m_partners[static_cast<std::size_t>(open.back() - begin)] = i;
        open.pop_back();
    }
}

} // namespace vantry
