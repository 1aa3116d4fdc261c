#pragma once

#include "base/AnyCodable.h"
#include "base/Dates.h"
#include "base/Text.h"
#include "transcripts/TranscriptMessage.h"

#include <QByteArrayList>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QStringList>

#include <utility>
#include <vector>

// How transcripts are read, told as plainly as possible: the whole file at once, each line as a tree. What reads them
// fast is compared with it.

namespace vantry::test {

inline QString plainSanitise(QString text)
{
    const QStringList names {
        QStringLiteral("local-command-caveat"), QStringLiteral("system-reminder"),
        QStringLiteral("command-name"),         QStringLiteral("command-message"),
        QStringLiteral("command-args"),         QStringLiteral("local-command-stdout"),
        QStringLiteral("ide_opened_file"),      QStringLiteral("ide_visible_files"),
        QStringLiteral("ide_active_file"),      QStringLiteral("ide_selection"),
        QStringLiteral("ide_diagnostics"),      QStringLiteral("ide_context"),
        QStringLiteral("task-notification"),    QStringLiteral("bash-input"),
        QStringLiteral("bash-stdout"),          QStringLiteral("bash-stderr"),
    };
    for (const QString &name : names) {
        const QString opening = u'<' + name + u'>';
        const QString closing = QStringLiteral("</") + name + u'>';
        for (;;) {
            const qsizetype begin = text.indexOf(opening);
            const qsizetype end = begin < 0 ? -1 : text.indexOf(closing, begin);
            if (end < 0)
                break;
            text.remove(begin, end + closing.size() - begin);
        }
    }
    static const QRegularExpression family(QStringLiteral("<ide_[a-z_]+>[\\s\\S]*?</ide_[a-z_]+>"));
    return text.remove(family);
}

/// Reads one transcript's bytes.
class PlainTranscript
{
public:
    /// All its messages. Ids of lines without one are left empty, "-text-" and "-tool-" parts included.
    static std::vector<TranscriptMessage> messages(const QByteArray &bytes)
    {
        PlainTranscript transcript;
        QByteArrayList pieces = bytes.split('\n');
        const QByteArray last = pieces.takeLast();
        for (const QByteArray &line : std::as_const(pieces)) {
            if (!isUtf8(line))
                return {};
            transcript.take(line);
        }
        if (isUtf8(last))
            transcript.take(last);
        return std::move(transcript.m_messages);
    }

private:
    using Role = TranscriptMessage::Role;

    static bool isUtf8(const QByteArray &line)
    {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = decoder(line);
        return !decoder.hasError() && !decoded.isNull();
    }

    static std::optional<QString> stringIn(const nlohmann::json &object, const char *key)
    {
        const auto found = object.find(key);
        if (found == object.end() || !found->is_string())
            return std::nullopt;
        return fromUtf8(found->get_ref<const std::string &>());
    }
    static QString fromUtf8(const std::string &text)
    {
        // Behind a letter, since a byte order mark at the front would be taken away.
        return QString::fromStdString("x" + text).sliced(1);
    }
    static bool isTrue(const nlohmann::json &object, const char *key)
    {
        const auto found = object.find(key);
        return found != object.end() && *found == nlohmann::json(true);
    }
    static bool isListOfObjects(const nlohmann::json &value)
    {
        return value.is_array() && std::ranges::all_of(value, [](const auto &element) { return element.is_object(); });
    }

    void take(const QByteArray &line)
    {
        const QString decoded = fromUtf8(line.toStdString());
        const auto map = AnyCodableMap::fromText(trimmedWhitespace(decoded).toUtf8().toStdString());
        if (!map)
            return;
        const nlohmann::json object = map->toJson();
        const auto type = stringIn(object, "type");
        const auto message = object.find("message");
        if (!type || message == object.end() || !message->is_object())
            return;
        m_baseID = stringIn(object, "uuid");
        const auto timestamp = stringIn(object, "timestamp");
        m_timestamp = timestamp ? parseIsoDate(*timestamp) : std::nullopt;
        if (*type == u"user" && !isTrue(object, "isMeta") && !isTrue(object, "isCompactSummary"))
            takeUser(*message);
        if (*type == u"assistant")
            takeAssistant(*message);
    }

    void takeUser(const nlohmann::json &message)
    {
        const QString text = textOf(message);
        const QString opening = QStringLiteral("<command-name>");
        const qsizetype begin = text.indexOf(opening);
        const qsizetype end = begin < 0 ? -1 : text.indexOf(QStringLiteral("</command-name>"), begin + opening.size());
        if (end >= 0) {
            const QStringView name = QStringView(text).sliced(begin, end - begin).sliced(opening.size());
            add(Role::toolUse, {}).toolName = trimmedWhitespace(name).toString();
            return;
        }
        if (text.contains(u"<local-command-stdout>"))
            return;
        const QString clean = plainSanitise(text);
        const QStringView trimmed = trimmedWhitespace(clean);
        if (!trimmed.isEmpty())
            add(Role::user, {}).text = trimmed.toString();
    }

    static QString textOf(const nlohmann::json &message)
    {
        if (const auto text = stringIn(message, "content"))
            return *text;
        const auto content = message.find("content");
        QStringList texts;
        if (content != message.end() && isListOfObjects(*content)) {
            for (const auto &block : *content) {
                const auto text = stringIn(block, "text");
                if (stringIn(block, "type") == QStringLiteral("text") && text)
                    texts.append(*text);
            }
        }
        return texts.join(u'\n');
    }

    void takeAssistant(const nlohmann::json &message)
    {
        const auto content = message.find("content");
        if (content == message.end() || !isListOfObjects(*content))
            return;
        QStringList pending;
        for (const auto &block : *content) {
            const auto type = stringIn(block, "type");
            const auto text = stringIn(block, "text");
            if (type == QStringLiteral("text") && text)
                pending.append(*text);
            if (type != QStringLiteral("tool_use"))
                continue;
            flush(pending);
            const QString name = stringIn(block, "name").value_or(QStringLiteral("Tool"));
            const auto input = block.find("input");
            const bool hasInput = input != block.end() && input->is_object();
            TranscriptMessage &call = add(Role::toolUse, QStringLiteral("-tool-%1").arg(m_messages.size()));
            if (const auto id = stringIn(block, "id"))
                call.id = *id;
            call.toolName = name;
            call.toolSummary = hasInput ? toolSummary(name, input->dump()) : toolSummary(name, std::nullopt);
        }
        flush(pending);
    }

    void flush(QStringList &pending)
    {
        const QString joined = pending.join(u'\n');
        pending.clear();
        const QStringView trimmed = trimmedWhitespace(joined);
        if (!trimmed.isEmpty())
            add(Role::assistant, QStringLiteral("-text-%1").arg(m_messages.size())).text = trimmed.toString();
    }

    TranscriptMessage &add(Role role, const QString &suffix)
    {
        const QString id = m_baseID ? *m_baseID + suffix : QString();
        return m_messages.emplace_back(TranscriptMessage { id, role, {}, m_timestamp, {}, {} });
    }

    std::optional<QString> m_baseID;
    std::optional<Date> m_timestamp;
    std::vector<TranscriptMessage> m_messages;
};

/// The messages with made-up ids (UUIDs of the fifth kind) emptied, as PlainTranscript gives them.
inline std::vector<TranscriptMessage> withoutMadeUpIDs(std::vector<TranscriptMessage> messages)
{
    static const QRegularExpression madeUp(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-[0-9a-f]{4}-[0-9a-f]{12}(-text-\\d+|-tool-\\d+)?$"));
    for (TranscriptMessage &message : messages) {
        if (madeUp.match(message.id).hasMatch())
            message.id.clear();
    }
    return messages;
}

} // namespace vantry::test
