#pragma once

#include "base/MainQueue.h"
#include "base/WorkerPool.h"
#include "transcripts/TranscriptMessage.h"
#include "transcripts/TranscriptMessageReader.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

/// Reads the last 50 messages of a transcript off the main thread, one read at a time; read again, only what was added
/// is read. What is read after this has gone is dropped. Main thread only.
class ChatTranscript
{
public:
    /// Both must outlive this.
    ChatTranscript(WorkerPool &workers, MainQueue &mainQueue);

    /// Reads the transcript at the path. While a read is under way, one more follows it, whatever is asked how often.
    void read(const QString &path);

    /// Takes what was read; nothing when that can't be read or holds no message.
    std::function<void(std::vector<TranscriptMessage>)> onRead;

private:
    void start();
    void finish(const QString &path, std::vector<TranscriptMessage> messages);

    WorkerPool &m_workers;
    MainQueue &m_mainQueue;
    QString m_path;                                    ///< Of the reader.
    std::shared_ptr<TranscriptMessageReader> m_reader; ///< Used by the task while one is running.
    std::optional<QString> m_wanted;                   ///< What is to be read next.
    bool m_isReading { false };
    std::shared_ptr<ChatTranscript *> m_self; ///< What is posted back holds this weakly.
};

} // namespace vantry
