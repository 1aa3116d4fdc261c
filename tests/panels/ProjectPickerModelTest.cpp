#include "panels/ProjectPickerModel.h"

#include "panels/ListMirror.h"
#include "panels/PanelFixture.h"

#include <QDir>
#include <QFile>

namespace vantry::test {
namespace {

using Model = ProjectPickerModel;
using ::testing::IsEmpty;

class ProjectPickerModelTest : public PanelFixture
{
protected:
    ProjectPickerModelTest()
    {
        picker.onOpenProject = [this](const RecentProject &project) { opened.append(project.name); };
    }
    /// A directory in which the agent was used so many seconds ago.
    void use(const QString &name, int seconds)
    {
        const QString path = home.filePath(name);
        ASSERT_TRUE(QDir().mkpath(path));
        QString folder = path;
        folder = home.filePath(u".claude/projects/"_s + folder.replace(u'/', u'-'));
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile file(folder + u"/1.jsonl"_s);
        ASSERT_TRUE(file.open(QFile::ReadWrite));
        const auto used = std::chrono::floor<std::chrono::milliseconds>(clock.now()) - std::chrono::seconds { seconds };
        ASSERT_TRUE(file.setFileTime(QDateTime::fromMSecsSinceEpoch(used.time_since_epoch().count()),
                                     QFileDevice::FileModificationTime));
    }
    void load()
    {
        picker.load();
        settle();
    }
    [[nodiscard]] QStringList shown() const
    {
        QStringList names;
        for (int row = 0; row < picker.count(); ++row)
            names.append(picker.index(row).data(Model::NameRole).toString());
        return names;
    }

    ProjectPickerModel picker { services() };
    QStringList opened;
};

TEST_F(ProjectPickerModelTest, timesGoOnWhileThePickerIsVisible)
{
    use(u"ledger"_s, 3590);
    load();
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    picker.setVisible(true);
    EXPECT_EQ(picker.index(0).data(Model::TimeTextRole), u"59m ago"_s);
    wait(11);
    EXPECT_EQ(picker.index(0).data(Model::TimeTextRole), u"1h ago"_s);
    EXPECT_EQ(scheduler.activeTimers(), 1U);
    picker.setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(ProjectPickerModelTest, projectsAreFoundOffTheMainThreadTheLastUsedFirst)
{
    use(u"ledger"_s, 120);
    use(u"shop"_s, 3);
    picker.load();
    EXPECT_TRUE(picker.isLoading());
    EXPECT_EQ(picker.emptyTitle(), QString()) << "nobody knows yet";
    settle();

    EXPECT_FALSE(picker.isLoading());
    EXPECT_EQ(shown(), (QStringList { u"shop"_s, u"ledger"_s }));
    EXPECT_EQ(picker.index(1).data(Model::PathRole), home.filePath(u"ledger"_s));
    EXPECT_EQ(picker.index(1).data(Model::TimeTextRole), u"2m ago"_s);
    EXPECT_EQ(picker.index(1).data(Model::AccessibleTextRole), u"ledger, 2m ago"_s);
    EXPECT_EQ(picker.emptyTitle(), QString());
}

TEST_F(ProjectPickerModelTest, noMoreThanTwelveAreShown)
{
    for (int i = 0; i < 14; ++i)
        use(u"p%1"_s.arg(i), i);
    load();
    EXPECT_EQ(picker.count(), 12);
}

TEST_F(ProjectPickerModelTest, withoutProjectsItTellsWhereTheyComeFrom)
{
    load();
    EXPECT_EQ(picker.emptyTitle(), u"No recent projects"_s);
    EXPECT_EQ(picker.emptyCaption(), u"Open a project with Claude Code first"_s);
    EXPECT_EQ(picker.emptySymbol(), u"folder.badge.questionmark"_s);
}

TEST_F(ProjectPickerModelTest, textFiltersByNameAndPathWhateverTheCase)
{
    use(u"work/shop"_s, 1);
    use(u"play/ledger"_s, 2);
    load();
    ListMirror mirror(picker, Model::ProjectIDRole);
    picker.setSearchText(u"SHO"_s);
    EXPECT_EQ(shown(), QStringList { u"shop"_s });
    picker.setSearchText(u" play "_s);
    EXPECT_EQ(shown(), QStringList { u"ledger"_s });
    picker.setSearchText(u"gradle"_s);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(picker.emptyTitle(), u"No matching projects"_s);
    EXPECT_EQ(picker.emptyCaption(), QString());
    EXPECT_EQ(picker.emptySymbol(), u"magnifyingglass"_s);
    picker.setSearchText(QString());
    EXPECT_EQ(picker.count(), 2);
    mirror.expectEqual();
}

TEST_F(ProjectPickerModelTest, keysChooseRowsAndGoRound)
{
    use(u"a"_s, 1);
    use(u"b"_s, 2);
    load();
    picker.moveUp();
    EXPECT_EQ(picker.selectionIndex(), 1);
    picker.moveDown();
    EXPECT_EQ(picker.selectionIndex(), 0);
    picker.moveUp();
    EXPECT_EQ(picker.selectionIndex(), 1);
    picker.setSearchText(u"a"_s);
    EXPECT_EQ(picker.selectionIndex(), -1) << "typing chooses nothing";
    picker.moveDown();
    EXPECT_EQ(picker.selectionIndex(), 0);
}

TEST_F(ProjectPickerModelTest, keysInAnEmptyListDoNothing)
{
    load();
    picker.moveUp();
    EXPECT_EQ(picker.selectionIndex(), -1);
    picker.moveDown();
    EXPECT_EQ(picker.selectionIndex(), -1);
    picker.submit();
    picker.open(0);
    picker.open(-1);
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(ProjectPickerModelTest, returnOpensWhatIsChosenOrTheFirst)
{
    use(u"a"_s, 1);
    use(u"b"_s, 2);
    load();
    picker.submit();
    picker.setSelectionIndex(1);
    picker.submit();
    picker.open(2);
    EXPECT_EQ(opened, (QStringList { u"a"_s, u"b"_s }));
}

TEST_F(ProjectPickerModelTest, loadingBeginsAnew)
{
    use(u"a"_s, 1);
    load();
    picker.setSearchText(u"a"_s);
    picker.setSelectionIndex(0);
    picker.load();
    EXPECT_EQ(picker.searchText(), QString());
    EXPECT_EQ(picker.selectionIndex(), -1);
    EXPECT_EQ(shown(), QStringList { u"a"_s }) << "what was found before";
    settle();
}

TEST_F(ProjectPickerModelTest, projectsMayComeWhenThePickerHasGone)
{
    {
        ProjectPickerModel other { services() };
        other.load();
    }
    settle();
}

} // namespace
} // namespace vantry::test
