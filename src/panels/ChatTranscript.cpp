#include "panels/ChatTranscript.h"

#include <utility>

namespace vantry {

namespace {

constexpr qsizetype messageLimit = 50;

} // namespace

ChatTranscript::ChatTranscript(WorkerPool &workers, MainQueue &mainQueue)
    : m_workers(workers)
    , m_mainQueue(mainQueue)
    , m_self(std::make_shared<ChatTranscript *>(this))
{}

void ChatTranscript::read(const QString &path)
{
    m_wanted = path;
    if (!m_isReading)
        start();
}

void ChatTranscript::start()
{
    const QString path = *std::exchange(m_wanted, std::nullopt);
    if (!m_reader || path != m_path)
        m_reader = std::make_shared<TranscriptMessageReader>(path, messageLimit);
    m_path = path;
    m_isReading = true;
    m_workers.run([path, reader = m_reader, &mainQueue = m_mainQueue, weak = std::weak_ptr(m_self)] {
        if (weak.expired())
            return;
        mainQueue.post([path, weak, messages = reader->read()]() mutable {
            if (const auto self = weak.lock())
                (*self)->finish(path, std::move(messages));
        });
    });
}

void ChatTranscript::finish(const QString &path, std::vector<TranscriptMessage> messages)
{
    m_isReading = false;
    const bool isWanted = m_wanted.value_or(path) == path;
    if (m_wanted)
        start();
    if (isWanted && onRead)
        onRead(std::move(messages));
}

} // namespace vantry
