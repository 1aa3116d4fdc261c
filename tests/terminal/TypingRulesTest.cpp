#include "terminal/TypingRules.h"

#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

using TypingRules::Keystrokes;
using TypingRules::Refusal;

TEST(TypingRules, takesAQuestionWithoutOptionsForOneWithAFreeAnswerAlone)
{
    HookEvent::Question question { .question = u"Why?"_s, .header = {}, .options = {}, .multiSelect = {} };
    const SessionPtr session = askingSession({}, {}, { question });

    EXPECT_EQ(TypingRules::keysForText(*session, u"so"_s),
              TypingRules::Decision(Keystrokes { { u"1"_s, u"so"_s }, true }));
    EXPECT_EQ(TypingRules::defectOfIndex(*session, 0), u"there is no option 0"_s);
}

TEST(TypingRules, countsNoFurtherThanAnyDialogGoes)
{
    const SessionPtr session = askingSession({}, {}, { questionWith(1'500) });

    EXPECT_EQ(TypingRules::defectOfIndex(*session, 999), std::nullopt);
    EXPECT_NE(TypingRules::defectOfIndex(*session, 1'000), std::nullopt);
    EXPECT_TRUE(std::holds_alternative<Refusal>(TypingRules::keysForAnswer(*session, 999)));
    EXPECT_TRUE(std::holds_alternative<Refusal>(TypingRules::keysForText(*session, u"x"_s)));
}

TEST(TypingRules, typesTheLastDigitForTheFreeAnswerToEightOptions)
{
    EXPECT_EQ(TypingRules::keysForText(*askingSession({}, {}, { questionWith(8) }), u"x"_s),
              TypingRules::Decision(Keystrokes { { u"9"_s, u"x"_s }, true }));
}

TEST(TypingRules, removesControlCharactersButTheTab)
{
    QString all;
    for (char16_t unit = 0; unit < 0x100; ++unit)
        all.append(QChar(unit));
    const QString left = TypingRules::withoutControlCharacters(all);

    EXPECT_EQ(left.size(), 256 - 32 - 1 - 32 + 1);
    EXPECT_TRUE(left.startsWith(u"\t !"_s));
    EXPECT_EQ(TypingRules::withoutControlCharacters(u"🙂\u2028é"_s), u"🙂\u2028é"_s);
}

} // namespace
} // namespace vantry::test
