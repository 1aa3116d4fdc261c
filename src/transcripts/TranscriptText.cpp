#include "transcripts/TranscriptText.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace vantry {
namespace {

struct TagPair
{
    QStringView opening;
    QStringView closing;
};

/// In the order in which they are removed.
constexpr std::array removedPairs {
    TagPair { u"<local-command-caveat>", u"</local-command-caveat>" },
    TagPair { u"<system-reminder>", u"</system-reminder>" },
    TagPair { u"<command-name>", u"</command-name>" },
    TagPair { u"<command-message>", u"</command-message>" },
    TagPair { u"<command-args>", u"</command-args>" },
    TagPair { u"<local-command-stdout>", u"</local-command-stdout>" },
    TagPair { u"<ide_opened_file>", u"</ide_opened_file>" },
    TagPair { u"<ide_visible_files>", u"</ide_visible_files>" },
    TagPair { u"<ide_active_file>", u"</ide_active_file>" },
    TagPair { u"<ide_selection>", u"</ide_selection>" },
    TagPair { u"<ide_diagnostics>", u"</ide_diagnostics>" },
    TagPair { u"<ide_context>", u"</ide_context>" },
    TagPair { u"<task-notification>", u"</task-notification>" },
    TagPair { u"<bash-input>", u"</bash-input>" },
    TagPair { u"<bash-stdout>", u"</bash-stdout>" },
    TagPair { u"<bash-stderr>", u"</bash-stderr>" },
};

/// Where the first tag that lies across the seam of two texts begins in `left` and ends in `right`, -1 when none does.
struct TagAcross
{
    qsizetype begin { -1 };
    qsizetype end { -1 };
};

TagAcross tagAcross(QStringView left, QStringView right, QStringView tag)
{
    for (qsizetype count = std::min(tag.size() - 1, left.size()); count > 0; --count) {
        if (left.endsWith(tag.first(count)) && right.startsWith(tag.sliced(count)))
            return { left.size() - count, tag.size() - count };
    }
    return {};
}

/// Deletes from the first opening tag to the next closing one, again and again. A deletion can bring the halves of an
/// opening tag together: it is the only place before the rest where a new one can stand.
QString withoutPair(const QString &text, const TagPair &pair)
{
    const qsizetype first = text.indexOf(pair.opening);
    if (first < 0)
        return text;
    QString kept;
    QStringView rest(text);
    for (;;) {
        const TagAcross across = tagAcross(kept, rest, pair.opening);
        const qsizetype begin = across.begin >= 0 ? 0 : rest.indexOf(pair.opening);
        if (begin < 0)
            break;
        const qsizetype behind = across.begin >= 0 ? across.end : begin + pair.opening.size();
        const qsizetype closing = rest.indexOf(pair.closing, behind);
        if (closing < 0)
            break;
        if (across.begin >= 0)
            kept.truncate(across.begin);
        else
            kept += rest.first(begin);
        rest = rest.sliced(closing + pair.closing.size());
    }
    return kept + rest;
}

bool isFamilyLetter(QChar character)
{
    return character == u'_' || (character >= u'a' && character <= u'z');
}

struct Match
{
    qsizetype begin { -1 };
    qsizetype end { -1 };
};

/// The first tag that is `front`, one or more of a to z and "_", and ">", from an index on.
Match familyTag(QStringView text, QStringView front, qsizetype from)
{
    for (qsizetype begin = text.indexOf(front, from); begin >= 0; begin = text.indexOf(front, begin + front.size())) {
        qsizetype end = begin + front.size();
        while (end < text.size() && isFamilyLetter(text[end]))
            ++end;
        if (end > begin + front.size() && end < text.size() && text[end] == u'>')
            return { begin, end + 1 };
    }
    return {};
}

/// Replaces every match of "<ide_[a-z_]+>[\s\S]*?</ide_[a-z_]+>", in one go, by nothing. Written by hand since an
/// engine looks for the missing end again from each opening tag.
QString withoutIdeFamily(const QString &text)
{
    QString kept;
    qsizetype position = 0;
    for (;;) {
        const Match opening = familyTag(text, u"<ide_", position);
        const Match closing = opening.begin < 0 ? Match {} : familyTag(text, u"</ide_", opening.end);
        if (closing.begin < 0)
            break;
        kept += QStringView(text).sliced(position, opening.begin - position);
        position = closing.end;
    }
    return position == 0 ? text : kept + QStringView(text).sliced(position);
}

} // namespace

QString sanitise(QString text)
{
    if (!text.contains(u'<'))
        return text;
    for (const TagPair &pair : removedPairs)
        text = withoutPair(text, pair);
    return withoutIdeFamily(text);
}

std::optional<QString> extractTag(QStringView name, QStringView text)
{
    const QString opening = u'<' + name + u'>';
    const QString closing = u"</" + name + u'>';
    const qsizetype begin = text.indexOf(opening);
    if (begin < 0)
        return std::nullopt;
    const qsizetype end = text.indexOf(closing, begin + opening.size());
    if (end < 0)
        return std::nullopt;
    return trimmedWhitespace(text.sliced(begin, end - begin).sliced(opening.size())).toString();
}

} // namespace vantry
