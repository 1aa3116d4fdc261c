#include "transcripts/TranscriptReader.h"

#include "base/Text.h"
#include "sessions/SessionManager.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptRecord.h"
#include "transcripts/TranscriptTail.h"

#include <QList>

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace vantry {
namespace {

constexpr std::int64_t contextSize = 200'000; ///< Tokens.
constexpr std::chrono::seconds quietAfterEvent { 2 };

/// Calls `decide` with the text's lines from the last to the first, empty ones left out, until it returns a value.
template <typename Function>
auto firstFromEnd(std::string_view text, Function &&decide) -> decltype(decide(text))
{
    while (!text.empty()) {
        const std::size_t feed = text.rfind('\n');
        const std::string_view line = feed == std::string_view::npos ? text : text.substr(feed + 1);
        if (!line.empty()) {
            if (auto decision = decide(line))
                return decision;
        }
        text = text.substr(0, feed == std::string_view::npos ? 0 : feed);
    }
    return {};
}

bool contains(std::string_view line, std::string_view word)
{
    return ::memmem(line.data(), line.size(), word.data(), word.size()) != nullptr;
}

/// Whether a string of the line can be one of these words: they stand there, or something is written as an escape.
/// Tells most lines apart without parsing them.
template <std::size_t Count>
bool mayHold(std::string_view line, const std::array<std::string_view, Count> &quotedWords)
{
    return std::ranges::any_of(quotedWords, [&](std::string_view word) { return contains(line, word); }) ||
           contains(line, "\\u");
}

std::int64_t usedPercent(const TranscriptRecord &usage)
{
    std::int64_t total = 0;
    for (const std::string_view key : { "input_tokens", "cache_creation_input_tokens", "cache_read_input_tokens" }) {
        // Far more than any context holds, and far from an overflow.
        constexpr std::int64_t most = 1'000'000'000'000;
        total += std::clamp(usage.integer(key).value_or(0), -most, most);
    }
    return std::clamp<std::int64_t>(total * 100 / contextSize, 0, 100);
}

bool isInterruption(const QString &text)
{
    return text == u"[Request interrupted by user]" || text == u"[Request interrupted by user for tool use]";
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
    const std::optional<std::string> text = file ? readTranscriptTail(*file) : std::nullopt;
    if (!text || !simdjson::validate_utf8(*text))
        return;

    if (const std::optional<int> percent = contextFreePercent(*text)) {
        m_log.write(QString(name + QStringLiteral(" contextPercent=%1%").arg(*percent)));
        session->setContextPercent(percent);
    }
    if (session->state() != SessionState::working)
        return;
    if (transcriptLooksIdle(*text))
        m_log.write(QString(name + QStringLiteral(" detected idle from transcript")));
    else if (!hasJustHadEvent(*session) && transcriptLooksInterrupted(*text))
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
    using namespace std::string_view_literals;
    return firstFromEnd(text, [](std::string_view line) -> std::optional<int> {
        if (!mayHold(line, std::array { "\"usage\""sv }))
            return std::nullopt;
        const auto record = TranscriptRecord::parse(line);
        if (!record || record->string("type") != u"assistant")
            return std::nullopt;
        const auto message = record->object("message");
        const auto usage = message ? message->object("usage") : std::nullopt;
        return usage ? std::optional(100 - static_cast<int>(usedPercent(*usage))) : std::nullopt;
    });
}

bool TranscriptReader::transcriptLooksIdle(std::string_view text)
{
    const std::optional<bool> isIdle = firstFromEnd(text, [](std::string_view line) -> std::optional<bool> {
        const auto record = TranscriptRecord::parse(line);
        const std::optional<QString> type = record ? record->string("type") : std::nullopt;
        if (!type || *type == u"progress")
            return std::nullopt;
        if (*type != u"assistant")
            return *type == u"result";
        const auto message = record->object("message");
        return message && message->string("stop_reason") == u"end_turn";
    });
    return isIdle.value_or(false);
}

bool TranscriptReader::transcriptLooksInterrupted(std::string_view text)
{
    using namespace std::string_view_literals;
    const std::optional<bool> isInterrupted = firstFromEnd(text, [](std::string_view line) -> std::optional<bool> {
        if (!mayHold(line, std::array { "\"user\""sv, "\"assistant\""sv }))
            return std::nullopt;
        const auto record = TranscriptRecord::parse(line);
        const std::optional<QString> type = record ? record->string("type") : std::nullopt;
        if (type == u"assistant")
            return record->isTrue("isApiErrorMessage");
        if (type != u"user")
            return std::nullopt;
        const auto message = record->object("message");
        return message && isInterruption(message->contentText());
    });
    return isInterrupted.value_or(false);
}

} // namespace vantry
