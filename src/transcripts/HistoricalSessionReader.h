#pragma once

#include "sessions/SessionStore.h"
#include "transcripts/TranscriptBuffer.h"

#include <QString>

#include <optional>

namespace vantry {

/// Where a transcript lies.
struct TranscriptPlace
{
    QString root;   ///< The folder of all projects.
    QString folder; ///< The project's folder in there, as the agent has encoded its path.
    QString id;     ///< Of the session: the file's name without its extension.

    [[nodiscard]] QString path() const { return root + u'/' + folder + u'/' + id + QStringLiteral(".jsonl"); }
};

/// What the search index is to know of the session: prompts and tools in order, directory, branch and dates. Reads the
/// file in blocks, into the buffer. Nothing when it can't be read, isn't UTF-8, or holds no prompt, and when the
/// thread's work has been cancelled. Any thread.
[[nodiscard]] std::optional<HistoricalSession> readHistoricalSession(const TranscriptPlace &place,
                                                                     TranscriptBuffer &buffer);

} // namespace vantry
