#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {

/// A transcript in a folder of its own, which goes with it.
class TranscriptScratch
{
public:
    TranscriptScratch() = default;
    explicit TranscriptScratch(const QByteArray &bytes) { write(bytes); }

    [[nodiscard]] QString path() const { return m_folder.filePath(QStringLiteral("t.jsonl")); }

    /// Puts other bytes into the same file.
    void write(const QByteArray &bytes) const { put(bytes, QIODevice::WriteOnly | QIODevice::Truncate); }
    void append(const QByteArray &bytes) const { put(bytes, QIODevice::WriteOnly | QIODevice::Append); }
    /// Puts another file in its place.
    void replace(const QByteArray &bytes) const
    {
        const QString other = m_folder.filePath(QStringLiteral("other"));
        EXPECT_TRUE(QFile::rename(path(), other));
        write(bytes);
        EXPECT_TRUE(QFile::remove(other));
    }
    void truncate(qint64 size) const { EXPECT_TRUE(QFile::resize(path(), size)); }

private:
    void put(const QByteArray &bytes, QIODevice::OpenMode mode) const
    {
        QFile file(path());
        EXPECT_TRUE(file.open(mode));
        EXPECT_EQ(file.write(bytes), bytes.size());
    }

    QTemporaryDir m_folder;
};

} // namespace vantry::test
