#pragma once

#include <QProcess>

#include <string>

namespace vantry::test {

struct ProgramResult
{
    int exitCode { -1 }; ///< -1 when it could not be started, or did not end of itself.
    QString out;
    std::string err;
};

/// Runs a program to its end, in a folder of its own if one is named.
inline ProgramResult runProgram(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                                const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
                                const QString &folder = {})
{
    constexpr int longEnough = 60'000; // milliseconds
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForStarted(longEnough))
        return { -1, {}, process.errorString().toStdString() };
    process.write(input);
    process.closeWriteChannel();
    const bool isOver = process.waitForFinished(longEnough) && process.exitStatus() == QProcess::NormalExit;
    return { isOver ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
             process.readAllStandardError().toStdString() };
}

} // namespace vantry::test
