#include "app/CommandLine.h"

#include <QFile>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

/// What stands behind "KEY=" on each line that begins so.
QStringList valuesOf(const QString &key)
{
    QFile file(QStringLiteral(VANTRY_PACKAGING "/com.vantry.app.desktop"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    QStringList values;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith(key + u'='))
            values.append(line.sliced(key.size() + 1));
    }
    return values;
}

TEST(DesktopEntry, startsTheProgramWithWhatItUnderstands)
{
    std::vector<Command> commands;
    const QStringList lines = valuesOf(u"Exec"_s);
    for (const QString &line : lines) {
        QStringList words = line.split(u' ');
        EXPECT_EQ(words.takeFirst(), u"vantry"_s);
        const auto parsed = parseCommandLine(words);
        ASSERT_TRUE(std::holds_alternative<Command>(parsed)) << line.toStdString();
        commands.push_back(std::get<Command>(parsed));
    }

    EXPECT_THAT(commands, ElementsAre(Command { command::Start {} }, Command { command::Start {} },
                                      Command { command::Settings {} }, Command { command::Quit {} }));
}

TEST(DesktopEntry, hasAGroupForEachOfItsActions)
{
    QFile file(QStringLiteral(VANTRY_PACKAGING "/com.vantry.app.desktop"));
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());

    const QStringList actions = valuesOf(u"Actions"_s).value(0).split(u';', Qt::SkipEmptyParts);

    EXPECT_THAT(actions, ElementsAre(u"show"_s, u"settings"_s, u"quit"_s));
    for (const QString &action : actions)
        EXPECT_TRUE(text.contains(u"\n[Desktop Action %1]\nName="_s.arg(action)));
}

TEST(DesktopEntry, hasItsIcon)
{
    const QString icon = valuesOf(u"Icon"_s).value(0);

    EXPECT_TRUE(QFile::exists(QStringLiteral(VANTRY_PACKAGING "/") + icon + u".svg"));
}

} // namespace
} // namespace vantry
