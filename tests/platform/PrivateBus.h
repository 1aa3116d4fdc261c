#pragma once

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {

/// A session bus of the test's own, which starts no service.
class PrivateBus
{
public:
    PrivateBus()
    {
        using namespace Qt::StringLiterals;
        QFile configuration(m_folder.filePath(u"bus.conf"_s));
        EXPECT_TRUE(configuration.open(QFile::WriteOnly));
        configuration.write("<busconfig><type>session</type><listen>unix:path=" + m_folder.path().toUtf8() +
                            "/socket</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        configuration.close();
        m_daemon.start(u"dbus-daemon"_s,
                       { u"--nofork"_s, u"--print-address"_s, u"--config-file="_s + configuration.fileName() });
        EXPECT_TRUE(m_daemon.waitForReadyRead()) << "dbus-daemon did not start";
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus() { stop(); }
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    void stop()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
    [[nodiscard]] const QString &address() const { return m_address; }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

} // namespace vantry::test
