#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <gtest/gtest.h>

namespace vantry::test {

enum class Expect { Success, Anything };

/// Runs git as a user of the repository would, with no configuration but the repository's own.
inline QString gitIn(const QString &directory, const QStringList &arguments, Expect expect = Expect::Success)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), QStringLiteral("/nonexistent"));
    environment.insert(QStringLiteral("GIT_CONFIG_NOSYSTEM"), QStringLiteral("1"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral("/usr/bin/git"),
                  QStringList { QStringLiteral("-c"), QStringLiteral("user.name=Ada"), QStringLiteral("-c"),
                                QStringLiteral("user.email=ada@example.org"), QStringLiteral("-c"),
                                QStringLiteral("init.defaultBranch=main"), QStringLiteral("-c"),
                                QStringLiteral("protocol.file.allow=always") } +
                      arguments);
    EXPECT_TRUE(process.waitForFinished(60'000));
    EXPECT_TRUE(process.exitCode() == 0 || expect == Expect::Anything) << process.readAllStandardError().toStdString();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

/// "a b c" as arguments.
inline QString gitIn(const QString &directory, const char *arguments)
{
    return gitIn(directory, QString::fromLatin1(arguments).split(u' '));
}

inline void writeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(text), text.size());
}

inline void writeScript(const QString &path, const QByteArray &body)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    writeFile(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// Makes a repository on "main" with one commit of one line in "file", in a directory that is there. Gives it back.
inline QString makeRepositoryIn(const QString &directory)
{
    gitIn(directory, "init -q");
    writeFile(directory + QStringLiteral("/file"), "one\n");
    gitIn(directory, "add file");
    gitIn(directory, "commit -q -m first");
    return directory;
}

} // namespace vantry::test
