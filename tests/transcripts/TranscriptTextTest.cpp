#include "transcripts/TranscriptText.h"

#include "transcripts/PlainTranscript.h"

#include <gtest/gtest.h>

#include <random>

namespace vantry::test {
namespace {

QString tagged(const QString &name, const QString &text)
{
    return u'<' + name + u'>' + text + QStringLiteral("</") + name + u'>';
}

TEST(TranscriptText, removesEveryKindOfMachineWrittenTag)
{
    for (const auto *name : { "local-command-caveat", "system-reminder", "command-name", "command-message",
                              "command-args", "local-command-stdout", "ide_opened_file", "ide_visible_files",
                              "ide_active_file", "ide_selection", "ide_diagnostics", "ide_context", "task-notification",
                              "bash-input", "bash-stdout", "bash-stderr", "ide_something_new" }) {
        const QString text = u"a " + tagged(QString::fromLatin1(name), QStringLiteral("two\nlines")) + u" b";
        EXPECT_EQ(sanitise(text), QStringLiteral("a  b")) << name;
    }
}

TEST(TranscriptText, removesEachOccurrenceAndDoesNotTrim)
{
    const QString reminder = tagged(QStringLiteral("system-reminder"), QStringLiteral("x"));
    EXPECT_EQ(sanitise(u" a" + reminder + u"b" + reminder + u"c "), QStringLiteral(" abc "));
    EXPECT_EQ(sanitise(reminder), QString());
    EXPECT_EQ(sanitise(QString()), QString());
}

TEST(TranscriptText, leavesATagWithoutItsEnd)
{
    for (const auto *text : { "a <system-reminder> b", "</system-reminder> <system-reminder>", "<ide_new> x", "a < b",
                              "<ide_>x</ide_>", "<ide_New>x</ide_New>", "<ide_a x</ide_a>", "<b>bold</b>" })
        EXPECT_EQ(sanitise(QString::fromLatin1(text)), QString::fromLatin1(text));
}

TEST(TranscriptText, endsAtTheFirstClosingTag)
{
    EXPECT_EQ(sanitise(QStringLiteral("<bash-input>a<bash-input>b</bash-input>c</bash-input>")),
              QStringLiteral("c</bash-input>"));
    EXPECT_EQ(sanitise(QStringLiteral("<ide_a>1<ide_b>2</ide_c>3</ide_a>")), QStringLiteral("3</ide_a>"));
}

TEST(TranscriptText, findsAnOpeningTagThatADeletionJoined)
{
    EXPECT_EQ(sanitise(QStringLiteral("<bash-<bash-input>a</bash-input>input>b</bash-input>c")), QStringLiteral("c"));
    EXPECT_EQ(sanitise(QStringLiteral("<bash-<bash-input>a</bash-input>input>b")), QStringLiteral("<bash-input>b"));
    // One kind after the other: what a later kind's deletion joins for an earlier one stays.
    EXPECT_EQ(sanitise(QStringLiteral("<system-<bash-input>a</bash-input>reminder>b</system-reminder>")),
              QStringLiteral("<system-reminder>b</system-reminder>"));
    // The catch-all goes through once.
    EXPECT_EQ(sanitise(QStringLiteral("<ide_<ide_x>a</ide_x>y>b</ide_y>")), QStringLiteral("<ide_y>b</ide_y>"));
}

TEST(TranscriptText, takesTimeInProportionToItsText)
{
    // A test that goes through quadratic work for a megabyte would not end within the time that tests have.
    const qsizetype count = 60'000;
    const QString openings = QStringLiteral("<system-reminder>").repeated(count);
    EXPECT_EQ(sanitise(openings), openings);
    EXPECT_EQ(sanitise(openings + u"</system-reminder>"), QString());
    EXPECT_EQ(sanitise(tagged(QStringLiteral("system-reminder"), QStringLiteral("x")).repeated(count)), QString());
    const QString family = QStringLiteral("<ide_a>").repeated(count);
    EXPECT_EQ(sanitise(family), family);
    const QString unended = QStringLiteral("</ide_a").repeated(count);
    EXPECT_EQ(sanitise(u"<ide_a>" + unended), u"<ide_a>" + unended);
    const QString nested =
        QStringLiteral("<bash-").repeated(count) + QStringLiteral("input></bash-input>").repeated(count);
    EXPECT_EQ(sanitise(nested), QString());
}

TEST(TranscriptText, doesWhatDeletingOneByOneDoes)
{
    const QStringList parts {
        QStringLiteral("<system-reminder>"),
        QStringLiteral("</system-reminder>"),
        QStringLiteral("<bash-input>"),
        QStringLiteral("</bash-input>"),
        QStringLiteral("<bash-"),
        QStringLiteral("input>"),
        QStringLiteral("<ide_selection>"),
        QStringLiteral("</ide_selection>"),
        QStringLiteral("<ide_x>"),
        QStringLiteral("</ide_x>"),
        QStringLiteral("<ide_"),
        QStringLiteral("</ide_"),
        QStringLiteral("<"),
        QStringLiteral(">"),
        QStringLiteral("a"),
        QStringLiteral("\n"),
        QStringLiteral("</"),
        QStringLiteral("reminder>"),
        QStringLiteral("<system-"),
    };
    std::mt19937 random(1); // NOLINT: the same each time.
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (auto left = random() % 24; left > 0; --left)
            text += parts.at(static_cast<qsizetype>(random() % static_cast<unsigned>(parts.size())));
        ASSERT_EQ(sanitise(text), plainSanitise(text)) << text.toStdString();
    }
}

TEST(TranscriptText, givesWhatStandsInATag)
{
    EXPECT_EQ(extractTag(u"command-name", u"x<command-name> /a b\n</command-name><command-name>c</command-name>"),
              QStringLiteral("/a b"));
    EXPECT_EQ(extractTag(u"command-name", u"<command-name></command-name>"), QString());
    EXPECT_EQ(extractTag(u"command-name", u"<command-name>a"), std::nullopt);
    EXPECT_EQ(extractTag(u"command-name", u"a</command-name>"), std::nullopt);
    EXPECT_EQ(extractTag(u"command-name", u"</command-name><command-name>"), std::nullopt);
    EXPECT_EQ(extractTag(u"b", u"</b><b>c</b>"), QStringLiteral("c"));
}

} // namespace
} // namespace vantry::test
