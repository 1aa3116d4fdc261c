#include "app/SoundSelections.h"

#include "base/Defaults.h"
#include "support/FakeFileChooser.h"
#include "support/FakeSoundPlayer.h"
#include "support/ManualMainQueue.h"
#include "support/RecordingLog.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

/// The rows are those of permissionPrompt, taskComplete and question; the choices "None", Blow, Glass, Purr and, where
/// files are offered, "Custom…".
class SoundSelectionsTest : public testing::Test
{
protected:
    static constexpr int custom = 4;

    SoundSelectionsTest() { player.sounds = { u"Blow"_s, u"Glass"_s, u"Purr"_s }; }

    [[nodiscard]] QVariant value(int row, SoundSelections::Role role) const
    {
        return selections().data(selections().index(row), role);
    }
    [[nodiscard]] QString shown(int row) const { return value(row, SoundSelections::ShownRole).toString(); }
    [[nodiscard]] int current(int row) const { return value(row, SoundSelections::CurrentRole).toInt(); }
    [[nodiscard]] QString stored(const QString &key) const { return defaults.string(key, u"(none)"_s); }
    SoundSelections &selections() const
    {
        if (!m_selections)
            m_selections.emplace(SoundSelections::Services { defaults, &sounds, chooserOrNone });
        return *m_selections;
    }

    QTemporaryDir folder;
    ManualMainQueue mainQueue;
    RecordingLog log;
    mutable Defaults defaults { folder.filePath(u"settings.json"_s), mainQueue, log };
    FakeSoundPlayer player;
    SoundService sounds { defaults, player, log };
    FakeFileChooser chooser;
    FileChooser *chooserOrNone { &chooser };
    mutable std::optional<SoundSelections> m_selections;
};

TEST_F(SoundSelectionsTest, hasARowForEachEventWithItsDefault)
{
    ASSERT_EQ(selections().rowCount(), 3);
    const QStringList labels { u"Permission Prompt"_s, u"Task Complete"_s, u"Question"_s };
    const QStringList symbols { u"exclamationmark.triangle.fill"_s, u"checkmark.circle.fill"_s,
                                u"questionmark.circle.fill"_s };
    const QStringList soundNames { u"Blow"_s, u"Glass"_s, u"Purr"_s };
    for (int row = 0; row < 3; ++row) {
        EXPECT_EQ(value(row, SoundSelections::LabelRole).toString(), labels.at(row));
        EXPECT_EQ(value(row, SoundSelections::SymbolRole).toString(), symbols.at(row));
        EXPECT_EQ(shown(row), soundNames.at(row));
        EXPECT_EQ(current(row), row + 1);
        EXPECT_EQ(value(row, SoundSelections::ChoicesRole).toStringList(),
                  (QStringList { u"None"_s, u"Blow"_s, u"Glass"_s, u"Purr"_s, u"Custom…"_s }));
    }
}

TEST_F(SoundSelectionsTest, storesAChoiceAtOnceUnderTheKeyOfItsEvent)
{
    selections().select(0, 0);
    selections().select(1, 1);
    selections().select(2, 2);

    EXPECT_EQ(stored(u"sound_permissionPrompt"_s), u"none");
    EXPECT_EQ(stored(u"sound_taskComplete"_s), u"system:Blow");
    EXPECT_EQ(stored(u"sound_question"_s), u"system:Glass");
    mainQueue.drainAll();
    EXPECT_EQ(shown(0), u"None");
    EXPECT_EQ(current(0), 0);
}

TEST_F(SoundSelectionsTest, takesOverWhatIsStoredFromElsewhere)
{
    int changes = 0;
    QObject::connect(&selections(), &QAbstractItemModel::dataChanged, [&changes] { ++changes; });

    defaults.setString(u"sound_question"_s, u"system:Blow"_s);
    mainQueue.drainAll();
    EXPECT_EQ(shown(2), u"Blow");
    EXPECT_EQ(current(2), 1);
    EXPECT_EQ(changes, 1);

    defaults.remove(u"sound_question"_s);
    mainQueue.drainAll();
    EXPECT_EQ(shown(2), u"Purr");
}

TEST_F(SoundSelectionsTest, asksForAFileAndStoresItsPath)
{
    selections().select(1, custom);
    EXPECT_EQ(chooser.messages, QStringList { u"Choose a sound file for Task Complete"_s });
    EXPECT_EQ(chooser.lastFilter.suffixes, (QStringList { u"aiff"_s, u"aif"_s, u"mp3"_s, u"wav"_s, u"m4a"_s }));
    EXPECT_EQ(stored(u"sound_taskComplete"_s), u"(none)") << "the entry itself is never stored";

    chooser.answer(u"/home/me/doorbell soft.wav"_s);
    mainQueue.drainAll();
    EXPECT_EQ(stored(u"sound_taskComplete"_s), u"/home/me/doorbell soft.wav");
    EXPECT_EQ(shown(1), u"doorbell soft.wav");
    EXPECT_EQ(current(1), custom);

    selections().select(1, custom);
    EXPECT_EQ(chooser.messages.size(), 2) << "another file in its stead";
}

TEST_F(SoundSelectionsTest, keepsTheEarlierSelectionWhenTheUserCancels)
{
    for (const QString &earlier : { u"system:Glass"_s, u"none"_s, u"/a/file.wav"_s }) {
        defaults.setString(u"sound_question"_s, earlier);
        mainQueue.drainAll();
        const int before = current(2);
        const QString shownBefore = shown(2);

        selections().select(2, custom);
        chooser.answer({});
        mainQueue.drainAll();

        EXPECT_EQ(stored(u"sound_question"_s), earlier);
        EXPECT_EQ(current(2), before);
        EXPECT_EQ(shown(2), shownBefore);
    }
}

TEST_F(SoundSelectionsTest, takesItsQuestionBackWhenItEnds)
{
    selections().select(0, custom);
    m_selections.reset();

    EXPECT_FALSE(chooser.isOpen());
}

TEST_F(SoundSelectionsTest, previewsTheSelectionAlsoWhenSoundsAreOff)
{
    defaults.setBoolean(u"sounds_enabled"_s, false);
    defaults.setString(u"sound_taskComplete"_s, u"/a/file.wav"_s);
    defaults.setString(u"sound_question"_s, u"none"_s);
    mainQueue.drainAll();

    selections().preview(0);
    selections().preview(1);
    selections().preview(2);

    EXPECT_EQ(player.played, (QStringList { u"named Blow"_s, u"file /a/file.wav"_s }));
}

TEST_F(SoundSelectionsTest, showsASoundThatIsNotInstalledHere)
{
    defaults.setString(u"sound_question"_s, u"system:Sosumi"_s);
    mainQueue.drainAll();

    EXPECT_EQ(shown(2), u"Sosumi");
    EXPECT_EQ(current(2), -1);
}

TEST_F(SoundSelectionsTest, offersNoFileWithoutAChooser)
{
    chooserOrNone = nullptr;
    defaults.setString(u"sound_question"_s, u"/a/file.wav"_s);
    mainQueue.drainAll();

    EXPECT_EQ(value(2, SoundSelections::ChoicesRole).toStringList().last(), u"Purr");
    EXPECT_EQ(shown(2), u"file.wav");
    EXPECT_EQ(current(2), -1);
    selections().select(2, custom);
    mainQueue.drainAll();
    EXPECT_EQ(stored(u"sound_question"_s), u"/a/file.wav");
}

TEST_F(SoundSelectionsTest, takesValuesOfWrongTypesAndEmptyOnesCalmly)
{
    defaults.setBoolean(u"sound_question"_s, true);
    defaults.setString(u"sound_taskComplete"_s, {});
    mainQueue.drainAll();

    EXPECT_EQ(shown(2), u"Purr");
    EXPECT_EQ(shown(1), u"None");
    EXPECT_EQ(current(1), 0);
}

TEST_F(SoundSelectionsTest, ignoresRowsAndChoicesThatDoNotExist)
{
    for (const int row : { -1, 3 }) {
        selections().select(row, 0);
        selections().preview(row);
    }
    for (const int choice : { -1, 5, 1000 })
        selections().select(0, choice);
    mainQueue.drainAll();

    EXPECT_EQ(stored(u"sound_permissionPrompt"_s), u"(none)");
    EXPECT_TRUE(player.played.isEmpty());
    EXPECT_TRUE(chooser.messages.isEmpty());
}

TEST_F(SoundSelectionsTest, worksWithoutSounds)
{
    SoundSelections silent({ defaults, nullptr, &chooser });
    EXPECT_EQ(silent.data(silent.index(0), SoundSelections::ChoicesRole).toStringList(),
              (QStringList { u"None"_s, u"Custom…"_s }));
    silent.preview(0);
    silent.select(0, 1);
    EXPECT_TRUE(chooser.isOpen());
}

} // namespace
} // namespace vantry::test
