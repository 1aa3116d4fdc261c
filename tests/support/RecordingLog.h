#pragma once

#include "base/DebugLog.h"

#include <QStringList>

#include <mutex>

namespace vantry::test {

/// Keeps the messages that were logged, in order. Any thread.
class RecordingLog final : public Log
{
public:
    using Log::write;
    void write(std::string_view message) override
    {
        const std::scoped_lock lock(m_mutex);
        m_lines.append(QString::fromUtf8(message.data(), static_cast<qsizetype>(message.size())));
    }

    [[nodiscard]] QStringList lines() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_lines;
    }
    [[nodiscard]] bool contains(const QString &line) const { return lines().contains(line); }
    void clear()
    {
        const std::scoped_lock lock(m_mutex);
        m_lines.clear();
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_lines;
};

} // namespace vantry::test
