#include "transcripts/HistoricalSessionReader.h"

#include "base/Cancellation.h"
#include "base/JsonScalars.h"
#include "base/Text.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptLine.h"
#include "transcripts/TranscriptLines.h"
#include "transcripts/TranscriptText.h"

#include <new>
#include <string_view>
#include <utility>

namespace vantry {
namespace {

constexpr qsizetype longestPrompt = 500; ///< Characters.

QString decoded(std::string_view inside)
{
    return decodeJsonString(inside).value_or(QString());
}

/// Whether the agent, outside of any repository, had no branch to name.
bool isNoBranch(std::string_view inside)
{
    return jsonStringIs(inside, "HEAD");
}

/// Gathers what the lines of one transcript tell.
class Gathering
{
public:
    /// Whether `line` holds anything that counts. Only then is it worth a look at all of it.
    [[nodiscard]] static bool isTelling(const TranscriptLine &line)
    {
        return line.timestamp || line.cwd || line.gitBranch || hasPrompts(line) || hasTools(line);
    }

    /// Whether the line tells nothing but a date that may be the last.
    [[nodiscard]] bool isDateAlone(const TranscriptLine &line) const
    {
        const bool tellsBranch = !m_branch && line.gitBranch && !isNoBranch(*line.gitBranch);
        const bool tellsDirectory = !m_directory && line.cwd;
        return m_firstTimestamp && !tellsBranch && !tellsDirectory && !hasPrompts(line) && !hasTools(line);
    }

    void addLastDate(const TranscriptLine &line)
    {
        if (line.timestamp)
            m_lastTimestamp = *line.timestamp;
    }

    /// The line is sound.
    void add(const TranscriptLine &line)
    {
        if (!m_branch && line.gitBranch && !isNoBranch(*line.gitBranch))
            m_branch = decoded(*line.gitBranch);
        if (!m_directory && line.cwd)
            m_directory = decoded(*line.cwd);
        if (!m_firstTimestamp && line.timestamp)
            m_firstTimestamp = decoded(*line.timestamp);
        addLastDate(line);
        if (hasPrompts(line))
            addPrompts(*line.message);
        else if (hasTools(line))
            addTools(*line.message);
    }

    [[nodiscard]] std::optional<HistoricalSession> take(const TranscriptPlace &place) &&
    {
        if (!m_summary)
            return std::nullopt;
        HistoricalSession session;
        session.id = place.id;
        session.projectDir = m_directory ? *std::move(m_directory) : QString(place.folder).replace(u'-', u'/');
        session.projectName = lastPathComponent(session.projectDir);
        session.gitBranch = std::move(m_branch);
        session.prompts = std::move(m_prompts);
        session.toolHistory = std::move(m_tools);
        session.summary = *std::move(m_summary);
        session.firstTimestamp = std::move(m_firstTimestamp);
        if (m_lastTimestamp)
            session.lastTimestamp = decoded(*m_lastTimestamp);
        session.transcriptPath = place.path();
        return session;
    }

private:
    static bool hasPrompts(const TranscriptLine &line)
    {
        return line.message && jsonStringIs(line.type, "user") && !line.isMeta && !line.isCompactSummary &&
               (line.message->kind == TranscriptContent::Kind::string || line.message->hasTextBlock);
    }

    static bool hasTools(const TranscriptLine &line)
    {
        return line.message && line.message->hasToolUseBlock && jsonStringIs(line.type, "assistant");
    }

    void addPrompts(const TranscriptContent &content)
    {
        if (const auto text = stringOf(content))
            addPrompt(decoded(*text));
        for (const TranscriptBlock &block : blocksOf(content)) {
            if (block.text && jsonStringIs(block.type, "text"))
                addPrompt(decoded(*block.text));
        }
    }

    void addPrompt(QString text)
    {
        text = sanitise(std::move(text));
        const QStringView prompt = firstCharacters(trimmedWhitespace(text), longestPrompt);
        if (prompt.isEmpty())
            return;
        if (m_summary)
            m_prompts += u'\n';
        else
            m_summary = prompt.toString();
        m_prompts += prompt;
    }

    void addTools(const TranscriptContent &content)
    {
        for (const TranscriptBlock &block : blocksOf(content)) {
            if (!block.name || !jsonStringIs(block.type, "tool_use"))
                continue;
            if (std::exchange(m_hasTools, true))
                m_tools += u' ';
            m_tools += decoded(*block.name);
        }
    }

    std::optional<QString> m_branch;
    std::optional<QString> m_directory;
    std::optional<QString> m_firstTimestamp;
    std::optional<std::string> m_lastTimestamp; ///< The inside of the JSON string: all lines but one are overwritten.
    std::optional<QString> m_summary;           ///< The first prompt.
    QString m_prompts;
    QString m_tools;
    bool m_hasTools { false };
};

/// Which lines are looked at in full. Most tell nothing but a date, and of the dates the last one alone is kept.
enum class Care { AllButDates, Everything };

bool isSoundLine(const TranscriptFile &file, TranscriptBuffer &buffer, std::uint64_t offset)
{
    TranscriptLines lines(file, buffer, offset);
    const auto source = lines.next();
    TranscriptLineReader reader;
    return source && reader.read(source->text) && reader.isSound();
}

/// Nothing when the file can't be read or isn't UTF-8, and when the work has been cancelled. `lastDate` gets the place
/// of the line with the last date, when that was not looked at in full.
std::optional<Gathering> gather(const TranscriptFile &file, TranscriptBuffer &buffer, Care care,
                                std::optional<std::uint64_t> &lastDate)
{
    TranscriptLines lines(file, buffer);
    TranscriptLineReader reader;
    Gathering gathering;
    while (const auto source = lines.next()) {
        if (Cancellation::isThisThreadCancelled())
            return std::nullopt;
        const auto line = reader.read(source->text);
        if (!line || !Gathering::isTelling(*line))
            continue;
        if (care == Care::AllButDates && gathering.isDateAlone(*line)) {
            gathering.addLastDate(*line);
            lastDate = line->timestamp ? source->offset : lastDate;
        } else if (reader.isSound()) {
            gathering.add(*line);
            lastDate = line->timestamp ? std::nullopt : lastDate;
        }
    }
    return lines.hasFailed() ? std::nullopt : std::optional(std::move(gathering));
}

} // namespace

std::optional<HistoricalSession> readHistoricalSession(const TranscriptPlace &place, TranscriptBuffer &buffer)
try {
    const auto file = TranscriptFile::open(place.path());
    if (!file)
        return std::nullopt;
    std::optional<std::uint64_t> lastDate;
    std::optional<Gathering> gathering = gather(*file, buffer, Care::AllButDates, lastDate);
    if (gathering && lastDate && !isSoundLine(*file, buffer, *lastDate))
        gathering = gather(*file, buffer, Care::Everything, lastDate);
    return gathering ? std::move(*gathering).take(place) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace vantry
