#include "Vantry.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

/// Every command of the fenced "sh" blocks of the README and docs/, without comments.
QStringList commandsOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    QStringList commands;
    bool inBlock = false;
    for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (line.trimmed().startsWith("```")) {
            inBlock = line.trimmed() == "```sh";
            continue;
        }
        const QString command = line.section(" #", 0, 0).trimmed();
        if (inBlock && !command.isEmpty() && !command.startsWith(u'#'))
            commands.append(command);
    }
    return commands;
}

QStringList documents()
{
    QStringList paths { QStringLiteral(VANTRY_CHECKOUT "/README.md") };
    QDirIterator iterator(VANTRY_CHECKOUT "/docs", { "*.md" }, QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext())
        paths.append(iterator.next());
    return paths;
}

/// Runs one `vantry` command in a home where the hook is installed, and where the session "4905" waits for a
/// permission.
void expectVantryCommandWorks(const QString &command)
{
    Vantry vantry;
    vantry.start();
    ASSERT_EQ(vantry.run({ "hook", "install" }).exitCode, 0);
    const HookCall call = HookCall::post(
        permissionRequest("4905", { { "permission_suggestions", Json::array({ { { "type", "addRules" } } }) } }));
    ASSERT_TRUE(vantry.shows("4905", "heldPermissions", 1));

    QStringList arguments = QProcess::splitCommand(command).mid(1);
    const auto running = vantry.begin(arguments);
    if (arguments.contains("watch")) {
        EXPECT_NE(running->nextLine(), "");
        return;
    }
    const CommandResult result = running->finish();
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST(Documentation, showsOnlyCommandsThatWork)
{
    const QDir checkout(VANTRY_CHECKOUT);
    QStringList tried;
    for (const QString &document : documents()) {
        for (const QString &command : commandsOf(document)) {
            SCOPED_TRACE(QStringLiteral("%1: %2").arg(document, command).toStdString());
            const QString script = command.section(u' ', 0, 0);
            if (command.startsWith("vantry "))
                expectVantryCommandWorks(command);
            else
                EXPECT_TRUE(QFileInfo(checkout.filePath(script)).isExecutable()) << "no such script";
            tried.append(command);
        }
    }
    EXPECT_GT(tried.size(), 10);
}

TEST(Documentation, linksOnlyToFilesThatExist)
{
    const QRegularExpression link(R"(\]\(([^)#:]+)(#[^)]*)?\))");
    for (const QString &document : documents()) {
        QFile file(document);
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        auto matches = link.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext()) {
            const QString target = matches.next().captured(1);
            EXPECT_TRUE(QFileInfo::exists(QFileInfo(document).dir().filePath(target)))
                << document.toStdString() << ": " << target.toStdString();
        }
    }
}

} // namespace
} // namespace vantry::test
