#pragma once

#include "program/Eventually.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {

using namespace Qt::StringLiterals;

/// A tmux server of the test's own, on a socket in a folder of its own, without any configuration; it has one detached
/// session, u"main"_s. Ends with this.
class TmuxServer
{
public:
    explicit TmuxServer(const QString &socketName = u"socket"_s)
        : m_socket(m_folder.filePath(socketName))
    {
        run({ u"new-session"_s, u"-d"_s, u"-s"_s, u"main"_s, u"-x"_s, u"200"_s, u"-y"_s, u"50"_s, u"sleep 1000000"_s });
    }
    ~TmuxServer() { run({ u"kill-server"_s }); }
    TmuxServer(const TmuxServer &) = delete;
    TmuxServer &operator=(const TmuxServer &) = delete;

    [[nodiscard]] const QString &socket() const { return m_socket; }
    [[nodiscard]] QString folder() const { return m_folder.path(); }

    /// Runs a tmux command and gives what it printed, without the line end.
    QString run(const QStringList &arguments) const
    {
        QProcess tmux;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"TMUX"_s);
        environment.remove(u"TMUX_PANE"_s);
        tmux.setProcessEnvironment(environment);
        tmux.start(u"tmux"_s, QStringList { u"-S"_s, m_socket, u"-f"_s, u"/dev/null"_s } + arguments);
        EXPECT_TRUE(tmux.waitForFinished()) << arguments.join(u' ').toStdString();
        return QString::fromUtf8(tmux.readAllStandardOutput()).trimmed();
    }

    /// Opens a window with a program in it, given by its words, and gives the pane.
    QString openWindow(const QStringList &program, const QStringList &variables = {}) const
    {
        QStringList arguments { u"new-window"_s, u"-P"_s, u"-F"_s, u"#{pane_id}"_s };
        for (const QString &variable : variables)
            arguments += { u"-e"_s, variable };
        return run(arguments + QStringList { u"--"_s } + program);
    }

private:
    QTemporaryDir m_folder;
    QString m_socket;
};

} // namespace vantry::test
