#include "transcripts/TranscriptMessageReader.h"

#include "base/Dates.h"
#include "base/JsonScalars.h"
#include "base/Text.h"
#include "transcripts/TranscriptLines.h"
#include "transcripts/TranscriptText.h"

#include <QStringList>
#include <QUuid>

#include <simdjson.h>

#include <algorithm>
#include <future>
#include <limits>
#include <utility>

namespace vantry {
namespace {

/// How much of a file's front and of the end of what was read is compared to tell whether the file still is the same.
constexpr std::size_t comparedLength = 4096;

QString decoded(std::string_view inside)
{
    return decodeJsonString(inside).value_or(QString());
}

/// Makes the messages of one sound line.
class LineMessages
{
public:
    /// `before` is how many messages the transcript gives before this line.
    LineMessages(const TranscriptLine &line, const TranscriptLines::Line &source, std::int64_t before)
        : m_line(line)
        , m_source(source)
        , m_before(before)
    {}

    /// Whether a line can give any: told without its text, so that other lines needn't be looked at in full.
    [[nodiscard]] static bool areIn(const TranscriptLine &line)
    {
        if (!line.message)
            return false;
        if (jsonStringIs(line.type, "user"))
            return isWrittenByPerson(line) &&
                   (line.message->kind == TranscriptContent::Kind::string || line.message->hasTextBlock);
        return jsonStringIs(line.type, "assistant") && (line.message->hasTextBlock || line.message->hasToolUseBlock);
    }

    /// How many make() gives, cheaper.
    [[nodiscard]] std::int64_t countAll()
    {
        if (!jsonStringIs(m_line.type, "user"))
            return countOfAssistant();
        makeOfUser();
        return static_cast<std::int64_t>(std::exchange(m_messages, {}).size());
    }

    [[nodiscard]] std::vector<TranscriptMessage> make()
    {
        if (jsonStringIs(m_line.type, "user"))
            makeOfUser();
        else
            makeOfAssistant();
        return std::exchange(m_messages, {});
    }

private:
    static bool isWrittenByPerson(const TranscriptLine &line) { return !line.isMeta && !line.isCompactSummary; }

    void makeOfUser()
    {
        QString text = extractText(*m_line.message);
        if (const auto command = extractTag(u"command-name", text)) {
            add(baseID(), TranscriptMessage::Role::toolUse).toolName = *command;
            return;
        }
        if (text.contains(u"<local-command-stdout>"))
            return;
        text = sanitise(std::move(text));
        const QStringView trimmed = trimmedWhitespace(text);
        if (!trimmed.isEmpty())
            add(baseID(), TranscriptMessage::Role::user).text = trimmed.toString();
    }

    [[nodiscard]] std::int64_t countOfAssistant() const
    {
        std::int64_t calls = 0;
        std::int64_t texts = 0;
        bool hasText = false;
        for (const TranscriptBlock &block : blocksOf(*m_line.message)) {
            if (jsonStringIs(block.type, "text") && block.text) {
                hasText = hasText || !isBlank(*block.text);
            } else if (jsonStringIs(block.type, "tool_use")) {
                texts += std::exchange(hasText, false) ? 1 : 0;
                ++calls;
            }
        }
        return calls + texts + (hasText ? 1 : 0);
    }

    static bool isBlank(std::string_view inside)
    {
        // Most texts begin with a letter.
        if (!inside.empty() && inside.front() > ' ' && inside.front() < '\x7F' && inside.front() != '\\')
            return false;
        return trimmedWhitespace(decoded(inside)).isEmpty();
    }

    void makeOfAssistant()
    {
        for (const TranscriptBlock &block : blocksOf(*m_line.message)) {
            if (jsonStringIs(block.type, "text") && block.text)
                m_pending.append(decoded(*block.text));
            else if (jsonStringIs(block.type, "tool_use"))
                addToolUse(block);
        }
        flush();
    }

    void addToolUse(const TranscriptBlock &block)
    {
        flush();
        QString id = block.id ? decoded(*block.id) : baseID() + u"-tool-" + QString::number(count());
        TranscriptMessage &message = add(std::move(id), TranscriptMessage::Role::toolUse);
        message.toolName = block.name ? decoded(*block.name) : QStringLiteral("Tool");
        message.toolSummary = toolSummary(*message.toolName, block.input);
    }

    void flush()
    {
        const QString joined = m_pending.join(u'\n');
        m_pending.clear();
        const QStringView trimmed = trimmedWhitespace(joined);
        if (!trimmed.isEmpty())
            add(baseID() + u"-text-" + QString::number(count()), TranscriptMessage::Role::assistant).text =
                trimmed.toString();
    }

    /// The line's identifier. One that has none gets its own, made of its place and its bytes, which stay.
    const QString &baseID()
    {
        if (!m_baseID && m_line.uuid)
            m_baseID = decoded(*m_line.uuid);
        if (!m_baseID) {
            static const QUuid transcriptLines(QStringLiteral("6f5c1b0e-58a4-4d0f-9a43-8d3f1d6a7c21"));
            QByteArray name = QByteArray::number(static_cast<qulonglong>(m_source.offset)) + '\n';
            name.append(m_source.text.data(), static_cast<qsizetype>(m_source.text.size()));
            m_baseID = QUuid::createUuidV5(transcriptLines, name).toString(QUuid::WithoutBraces);
        }
        return *m_baseID;
    }

    [[nodiscard]] std::int64_t count() const { return m_before + static_cast<std::int64_t>(m_messages.size()); }

    TranscriptMessage &add(QString id, TranscriptMessage::Role role)
    {
        const auto timestamp = m_line.timestamp ? parseIsoDate(decoded(*m_line.timestamp)) : std::nullopt;
        return m_messages.emplace_back(TranscriptMessage { std::move(id), role, {}, timestamp, {}, {} });
    }

    const TranscriptLine &m_line;
    const TranscriptLines::Line &m_source;
    std::int64_t m_before;
    std::optional<QString> m_baseID;
    QStringList m_pending;
    std::vector<TranscriptMessage> m_messages;
};

} // namespace

TranscriptMessageReader::TranscriptMessageReader(QString path, qsizetype limit, std::uint64_t share)
    : m_path(std::move(path))
    , m_limit(static_cast<std::size_t>(std::max<qsizetype>(limit, 0)))
    , m_share(share)
{}

std::vector<TranscriptMessage> TranscriptMessageReader::read()
{
    const auto file = m_limit > 0 ? TranscriptFile::open(m_path) : std::nullopt;
    if (!file) {
        m_progress.reset();
        return {};
    }
    const TranscriptFile::State state = file->state();
    if (!m_progress || m_progress->state != state) {
        if (!m_progress || !goesOn(*m_progress, *file, state))
            m_progress = Progress();
        m_progress->state = state;
        if (!readOn(*m_progress, *file))
            m_progress.reset();
        m_buffers.front().releaseLong();
    }
    return m_progress ? result() : std::vector<TranscriptMessage>();
}

bool TranscriptMessageReader::goesOn(const Progress &progress, const TranscriptFile &file,
                                     const TranscriptFile::State &state)
{
    return progress.state.isSameFile(state) && state.size > progress.state.size && state.size >= progress.end &&
           file.read(0, progress.front.size()) == progress.front &&
           file.read(progress.end - progress.back.size(), progress.back.size()) == progress.back;
}

void TranscriptMessageReader::Piece::add(const Place &place, std::int64_t limit)
{
    last.push_back(place);
    messages += place.messages;
    for (; messages - last.front().messages >= limit; last.pop_front())
        messages -= last.front().messages;
}

bool TranscriptMessageReader::readOn(Progress &progress, const TranscriptFile &file)
{
    constexpr auto toTheEnd = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t begin = progress.end;
    auto &[buffer, otherBuffer] = m_buffers;
    Piece piece;
    if (const auto second = middle(begin, progress, file)) {
        // Without a thread to be had, this one reads the front, too.
        auto front = std::async(std::launch::async | std::launch::deferred, [&, &other = otherBuffer] {
            return readPiece(file, other, begin, *second, progress.count);
        });
        Piece back = readPiece(file, buffer, *second, toTheEnd, 0);
        piece = front.get();
        piece.hasFailed = piece.hasFailed || back.hasFailed || piece.end != *second;
        for (Place &place : back.last) {
            place.before += piece.count;
            piece.add(place, static_cast<std::int64_t>(m_limit));
        }
        if (back.unfinished)
            back.unfinished->before += piece.count;
        piece.unfinished = back.unfinished;
        piece.count += back.count;
        piece.end = back.end;
    } else {
        piece = readPiece(file, buffer, begin, toTheEnd, progress.count);
    }
    if (piece.hasFailed)
        return false;

    for (const Place &place : piece.last) {
        auto messages = make(place, true, file, buffer);
        if (!messages)
            return false;
        std::ranges::move(*messages, std::back_inserter(progress.messages));
    }
    while (progress.messages.size() > m_limit)
        progress.messages.pop_front();
    progress.unfinished.clear();
    if (piece.unfinished)
        progress.unfinished = make(*piece.unfinished, false, file, buffer).value_or(std::vector<TranscriptMessage>());
    progress.count = piece.count;
    progress.end = piece.end;
    const std::size_t length = std::min<std::uint64_t>(progress.end, comparedLength);
    progress.front = file.read(0, length).value_or(std::string());
    progress.back = file.read(progress.end - length, length).value_or(std::string());
    return true;
}

std::optional<std::uint64_t> TranscriptMessageReader::middle(std::uint64_t begin, const Progress &progress,
                                                             const TranscriptFile &file) const
{
    constexpr std::size_t step = std::size_t { 64 } << 10;
    const std::uint64_t size = progress.state.size;
    if (size < begin || size - begin < 2 * m_share)
        return std::nullopt;
    for (std::uint64_t offset = begin + (size - begin) / 2; offset < size; offset += step) {
        const auto block = file.read(offset, step);
        const std::size_t feed = block ? block->find('\n') : std::string::npos;
        if (feed != std::string::npos)
            return offset + feed + 1;
        if (!block)
            return std::nullopt;
    }
    return std::nullopt;
}

TranscriptMessageReader::Piece TranscriptMessageReader::readPiece(const TranscriptFile &file, TranscriptBuffer &buffer,
                                                                  std::uint64_t begin, std::uint64_t end,
                                                                  std::int64_t before) const
{
    Piece piece;
    piece.count = before;
    TranscriptLines lines(file, buffer, begin, end);
    TranscriptLineReader reader;
    while (const auto line = lines.next()) {
        const auto content = reader.read(line->text);
        if (!content || !LineMessages::areIn(*content) || !reader.isSound())
            continue;
        const std::int64_t count = LineMessages(*content, *line, piece.count).countAll();
        const Place place { line->offset, line->text.size(), piece.count, count };
        if (!line->isTerminated) {
            piece.unfinished = place;
            break;
        }
        if (count == 0)
            continue;
        piece.add(place, static_cast<std::int64_t>(m_limit));
        piece.count += count;
    }
    piece.end = lines.endOfTerminated();
    piece.hasFailed = lines.hasFailed();
    return piece;
}

std::optional<std::vector<TranscriptMessage>> TranscriptMessageReader::make(const Place &place, bool isTerminated,
                                                                            const TranscriptFile &file,
                                                                            TranscriptBuffer &buffer)
{
    buffer.reserve(std::max({ buffer.capacity(), place.length, TranscriptBuffer::ordinaryCapacity }));
    const auto count = file.read(place.offset, { buffer.get(), place.length });
    const std::string_view bytes(buffer.get(), place.length);
    if (count != place.length || !simdjson::validate_utf8(bytes))
        return std::nullopt;
    TranscriptLineReader reader;
    const TranscriptLines::Line line { place.offset, bytes, isTerminated };
    const auto content = reader.read(line.text);
    // Another one than before: somebody is rewriting the file.
    if (!content || !LineMessages::areIn(*content) || !reader.isSound())
        return std::nullopt;
    return LineMessages(*content, line, place.before).make();
}

std::vector<TranscriptMessage> TranscriptMessageReader::result() const
{
    std::vector<TranscriptMessage> messages(m_progress->messages.begin(), m_progress->messages.end());
    messages.insert(messages.end(), m_progress->unfinished.begin(), m_progress->unfinished.end());
    if (messages.size() > m_limit)
        messages.erase(messages.begin(), messages.end() - static_cast<std::ptrdiff_t>(m_limit));
    return messages;
}

std::vector<TranscriptMessage> parseMessages(const QString &path, qsizetype limit)
{
    return TranscriptMessageReader(path, limit).read();
}

} // namespace vantry
