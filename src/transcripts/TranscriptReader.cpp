#include "transcripts/TranscriptReader.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"
#include "base/Text.h"
#include "sessions/SessionManager.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptMessage.h"

#include <QList>

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace vantry {
namespace {

constexpr std::int64_t contextSize = 200'000; ///< Tokens.
constexpr std::chrono::seconds quietAfterEvent { 2 };

/// What a tail tells of each question; nothing until a line has decided it.
struct Findings
{
    std::optional<int> contextFreePercent;
    std::optional<bool> isIdle;
    std::optional<bool> isInterrupted;
};

/// A line of a tail; the lines that decide nothing aren't looked at in full.
class TailLine
{
public:
    TailLine(std::string_view text, TranscriptLineReader &reader)
        : m_text(text)
        , m_reader(reader)
        , m_line(reader.read(text))
    {}

    [[nodiscard]] bool hasType() const { return m_line && m_line->type; }
    [[nodiscard]] bool isOf(std::string_view type) const { return hasType() && jsonStringIs(m_line->type, type); }
    [[nodiscard]] bool isApiError() const { return m_line->isApiErrorMessage; }
    [[nodiscard]] QString userText() const { return m_line->message ? extractText(*m_line->message) : QString(); }
    [[nodiscard]] std::string_view text() const { return m_text; }
    [[nodiscard]] bool isSound()
    {
        if (!m_isSound)
            m_isSound = m_reader.isSound();
        return *m_isSound;
    }

private:
    std::string_view m_text;
    TranscriptLineReader &m_reader;
    std::optional<TranscriptLine> m_line;
    std::optional<bool> m_isSound;
};

/// The source text of a member of a sound object, empty when there is none or no object; the last of a doubled key.
std::string_view member(std::string_view object, std::string_view key)
{
    std::string_view found;
    JsonReader reader(object);
    if (reader.next() != JsonReader::Kind::Object)
        return found;
    reader.readObject([&](std::string_view name) {
        const std::string_view value = reader.readValue();
        if (jsonStringIs(name, key))
            found = value;
    });
    return found;
}

bool isString(std::string_view source, std::string_view text)
{
    JsonReader reader(source);
    return reader.next() == JsonReader::Kind::String && jsonStringIs(reader.readString(), text);
}

bool isObject(std::string_view source)
{
    return JsonReader(source).next() == JsonReader::Kind::Object;
}

std::int64_t usedPercent(std::string_view usage)
{
    std::int64_t total = 0;
    for (const std::string_view key : { "input_tokens", "cache_creation_input_tokens", "cache_read_input_tokens" }) {
        // Far more than any context holds, and far from an overflow.
        constexpr std::int64_t most = 1'000'000'000'000;
        const std::string_view count = member(usage, key);
        if (isJsonNumber(count))
            total += std::clamp(exactJsonInteger(count).value_or(0), -most, most);
    }
    return std::clamp<std::int64_t>(total * 100 / contextSize, 0, 100);
}

bool isInterruption(const QString &text)
{
    return text == u"[Request interrupted by user]" || text == u"[Request interrupted by user for tool use]";
}

std::optional<int> contextFreePercentOf(TailLine &line)
{
    if (!line.isOf("assistant") || !line.isSound())
        return std::nullopt;
    const std::string_view usage = member(member(line.text(), "message"), "usage");
    return isObject(usage) ? std::optional(100 - static_cast<int>(usedPercent(usage))) : std::nullopt;
}

std::optional<bool> isIdleBy(TailLine &line)
{
    if (!line.hasType() || line.isOf("progress") || !line.isSound())
        return std::nullopt;
    if (line.isOf("assistant"))
        return isString(member(member(line.text(), "message"), "stop_reason"), "end_turn");
    return line.isOf("result");
}

std::optional<bool> isInterruptedBy(TailLine &line)
{
    const bool isAssistant = line.isOf("assistant");
    if (!(isAssistant || line.isOf("user")) || !line.isSound())
        return std::nullopt;
    return isAssistant ? line.isApiError() : isInterruption(line.userText());
}

enum class Asked { Context, ContextAndTurn };

/// Goes through the text's lines from the last to the first until they have decided what is asked.
Findings look(std::string_view text, TranscriptLineReader &reader, Asked asked)
{
    Findings found;
    const bool asksForTurn = asked == Asked::ContextAndTurn;
    while (!text.empty() && !(found.contextFreePercent && (!asksForTurn || (found.isIdle && found.isInterrupted)))) {
        const void *feed = ::memrchr(text.data(), '\n', text.size());
        const std::size_t begin =
            feed ? static_cast<std::size_t>(static_cast<const char *>(feed) - text.data()) + 1 : 0;
        TailLine line(text.substr(begin), reader);
        text = text.substr(0, begin > 0 ? begin - 1 : 0);
        if (!found.contextFreePercent)
            found.contextFreePercent = contextFreePercentOf(line);
        if (asksForTurn && !found.isIdle)
            found.isIdle = isIdleBy(line);
        if (asksForTurn && !found.isInterrupted)
            found.isInterrupted = isInterruptedBy(line);
    }
    return found;
}

Findings look(std::string_view text)
{
    TranscriptLineReader reader;
    return look(text, reader, Asked::ContextAndTurn);
}

} // namespace

TranscriptReader::TranscriptReader(QString home, Scheduler &scheduler, const Clock &clock, Log &log)
    : m_home(std::move(home))
    , m_scheduler(scheduler)
    , m_clock(clock)
    , m_log(log)
{}

void TranscriptReader::start(Seconds interval)
{
    m_timer =
        m_scheduler.every(std::chrono::duration_cast<std::chrono::milliseconds>(interval), [this] { checkSessions(); });
    checkSessions();
}

void TranscriptReader::checkSessions()
{
    if (!sessionManager) {
        m_log.write("TranscriptReader: no sessionManager");
        return;
    }
    QList<SessionPtr> alive = sessionManager->sessions();
    alive.removeIf([](const SessionPtr &session) { return !session->isAlive(); });
    m_log.write(QStringLiteral("TranscriptReader: checking %1 alive sessions").arg(alive.size()));
    for (const SessionPtr &session : std::as_const(alive))
        checkSession(session);
}

void TranscriptReader::checkSession(const SessionPtr &session)
{
    const QString nil = QStringLiteral("nil");
    const QString name = QStringLiteral("TranscriptReader: session=") + firstCharacters(session->id(), 8);
    const std::optional<QString> path = session->resolvedTranscriptPath(m_home);
    m_log.write(QString(name + QStringLiteral(" transcriptPath=") + session->transcriptPath().value_or(nil) +
                        QStringLiteral(" resolved=") + path.value_or(nil)));
    if (!path)
        return;
    const std::optional<TranscriptFile> file = TranscriptFile::open(*path);
    const std::optional<std::string_view> text = file ? m_tail.read(*file) : std::nullopt;
    if (!text || !simdjson::validate_utf8(*text))
        return;

    const bool isWorking = session->state() == SessionState::working;
    const Findings found = look(*text, m_lines, isWorking ? Asked::ContextAndTurn : Asked::Context);
    if (found.contextFreePercent) {
        m_log.write(QString(name + QStringLiteral(" contextPercent=%1%").arg(*found.contextFreePercent)));
        session->setContextPercent(found.contextFreePercent);
    }
    if (!isWorking)
        return;
    if (found.isIdle.value_or(false))
        m_log.write(QString(name + QStringLiteral(" detected idle from transcript")));
    else if (found.isInterrupted.value_or(false) && !hasJustHadEvent(*session))
        m_log.write(QString(name + QStringLiteral(" detected interruption from transcript")));
    else
        return;
    if (sessionManager)
        sessionManager->turnEnded(session);
}

/// The transcript may not show yet what the event began. A clock that was set back doesn't count.
bool TranscriptReader::hasJustHadEvent(const VantrySession &session) const
{
    const auto elapsed = m_clock.now() - session.lastUpdated();
    return elapsed >= elapsed.zero() && elapsed < quietAfterEvent;
}

std::optional<int> TranscriptReader::contextFreePercent(std::string_view text)
{
    return look(text).contextFreePercent;
}

bool TranscriptReader::transcriptLooksIdle(std::string_view text)
{
    return look(text).isIdle.value_or(false);
}

bool TranscriptReader::transcriptLooksInterrupted(std::string_view text)
{
    return look(text).isInterrupted.value_or(false);
}

} // namespace vantry
