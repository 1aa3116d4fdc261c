#pragma once

#include "base/Defaults.h"
#include "sessions/SessionStore.h"
#include "support/ManualClock.h"
#include "support/RecordingLog.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {

/// A scratch home with an agent's folder of projects in it, which a test fills.
class TranscriptProjectsTest : public ::testing::Test
{
protected:
    [[nodiscard]] QString home() const { return m_home.path(); }
    [[nodiscard]] QString projects() const { return home() + QStringLiteral("/.claude/projects"); }
    [[nodiscard]] QString path(const QString &folder, const QString &id) const
    {
        return projects() + u'/' + folder + u'/' + id + QStringLiteral(".jsonl");
    }

    void makeProjects() const { ASSERT_TRUE(QDir().mkpath(projects())); }
    /// A file under the folder of projects; its folder is made.
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(projects() + u'/' + name);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(file.fileName()).path()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    void put(const QString &folder, const QString &id, const QByteArray &bytes) const
    {
        write(folder + u'/' + id + QStringLiteral(".jsonl"), bytes);
    }

    /// A line with a prompt, which needs no escapes, and a date.
    [[nodiscard]] static QByteArray user(const QByteArray &prompt)
    {
        return R"({"type":"user","message":{"content":")" + prompt +
               R"("},"timestamp":"2026-01-01T10:00:00.000Z","cwd":"/home/u/app"})"
               "\n";
    }

    [[nodiscard]] static HistoricalSession historical(const QString &id, const QString &prompts)
    {
        HistoricalSession session;
        session.id = id;
        session.prompts = session.summary = prompts;
        session.firstTimestamp = session.lastTimestamp = QStringLiteral("2026-01-01T10:00:00.000Z");
        return session;
    }

private:
    QTemporaryDir m_home;
};

} // namespace vantry::test
