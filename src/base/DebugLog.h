#pragma once

#include "base/Clock.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantry {

/// What a service writes its log lines to. A message begins with the name of the class that writes, as in
/// "HTTPHookServer: stopped". Any thread may write; failures are ignored.
class Log
{
public:
    virtual ~Log() = default;

    virtual void write(std::string_view message) = 0;
    void write(const char *message) { write(std::string_view(message)); }
    void write(const QString &message) { write(std::string_view(message.toStdString())); }
};

/// The debug log's file, with its two writers. Both append to one descriptor with one write per line, so lines never
/// mix. The file is opened again when the one at the path is another than ours (at once when it was trimmed or deleted,
/// within a second when it was moved, so no line is lost), and made again, with its folder, when it is missing. Control
/// characters in a message are written escaped ("\n" as backslash and n), so one message is always one line. Any thread
/// may write, and no lock is taken: the number of the descriptor stays the same for life, and what stands behind it is
/// exchanged in one step (dup3). Owns the descriptor.
class DebugLog
{
public:
    /// Touches no file before the first line.
    DebugLog(QString path, const Clock &clock);
    ~DebugLog();
    DebugLog(const DebugLog &) = delete;
    DebugLog &operator=(const DebugLog &) = delete;

    /// Every service's writer: "[2026-01-31T09:05:07Z] message".
    [[nodiscard]] Log &general() { return m_general; }
    /// The application delegate's writer: "[2026-01-31 09:05:07 +0000] message". Its first line in a run trims the file
    /// to its last 5000 pieces.
    [[nodiscard]] Log &delegate() { return m_delegate; }

    [[nodiscard]] const QString &path() const { return m_path; }

private:
    enum class DateForm { General, Delegate };

    class Writer final : public Log
    {
    public:
        Writer(DebugLog &file, DateForm form)
            : m_file(file)
            , m_form(form)
        {}
        using Log::write;
        void write(std::string_view message) override;

    private:
        DebugLog &m_file;
        DateForm m_form;
    };

    void append(DateForm form, std::string_view message);
    [[nodiscard]] bool ensureOpen(Date now);
    [[nodiscard]] bool isAtPath() const;
    [[nodiscard]] bool reopen();

    QString m_path;
    std::string m_nativePath;
    const Clock &m_clock;
    int m_descriptor;
    std::atomic<std::int64_t> m_checkedSecond { -1 }; ///< In which we last looked at what stands at the path.
    std::atomic_flag m_delegateHasWritten;
    Writer m_general { *this, DateForm::General };
    Writer m_delegate { *this, DateForm::Delegate };
};

} // namespace vantry
