#include "terminal/TypingRules.h"

#include "base/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vantry::TypingRules {

namespace {

/// Options are taken by one digit, and the option behind the last one asks for a free answer.
constexpr int mostDigit = 9;
/// No dialog offers so many.
constexpr int mostOptions = 1'000;

/// The open question, if there is only one and it takes a single choice.
const HookEvent::Question *singleChoice(const VantrySession &session)
{
    const auto &questions = session.questions();
    if (!questions || questions->size() != 1 || questions->front().multiSelect.value_or(false))
        return nullptr;
    return &questions->front();
}

int optionCount(const HookEvent::Question &question)
{
    const std::size_t count = question.options ? question.options->size() : 0;
    return static_cast<int>(std::min<std::size_t>(count, mostOptions));
}

} // namespace

std::optional<Refusal> refusalOfText(const VantrySession &session)
{
    if (session.state() == SessionState::needsPermission)
        return u"the session waits for a permission, which text would grant"_s;
    if (!session.questions())
        return std::nullopt;
    const HookEvent::Question *question = singleChoice(session);
    if (!question)
        return u"one line can't answer what the session asks; answer it in its terminal"_s;
    if (optionCount(*question) >= mostDigit)
        return u"the question has too many options to be answered from here; answer it in its terminal"_s;
    return std::nullopt;
}

Decision keysForText(const VantrySession &session, const QString &line)
{
    if (auto refusal = refusalOfText(session))
        return *refusal;
    const HookEvent::Question *question = singleChoice(session);
    if (!question)
        return Keystrokes { { line }, true };
    if (trimmedWhitespace(line).isEmpty())
        return u"an empty answer would decline the question"_s;
    return Keystrokes { { QString::number(optionCount(*question) + 1), line }, true };
}

Decision keysForAnswer(const VantrySession &session, int index)
{
    if (auto defect = defectOfIndex(session, index))
        return *defect;
    if (auto refusal = refusalOfChoice(session))
        return *refusal;
    if (!session.questions())
        return u"the session asks no question with options"_s;
    if (index >= mostDigit)
        return u"option %1 can't be taken by a key; take it in the session's terminal"_s.arg(index);
    return Keystrokes { { QString::number(index + 1) }, false };
}

std::optional<Refusal> defectOfIndex(const VantrySession &session, int index)
{
    const HookEvent::Question *question = singleChoice(session);
    const int count = question ? optionCount(*question) : mostOptions;
    if (index >= 0 && index < count)
        return std::nullopt;
    return u"there is no option %1"_s.arg(index);
}

std::optional<Refusal> refusalOfChoice(const VantrySession &session)
{
    if (session.state() == SessionState::needsPermission)
        return u"the session waits for a permission"_s;
    if (session.questions() && !singleChoice(session))
        return u"one choice can't answer what the session asks; answer it in its terminal"_s;
    return std::nullopt;
}

QString withoutControlCharacters(QString text)
{
    return text.removeIf([](QChar unit) { return unit.category() == QChar::Other_Control && unit != u'\t'; });
}

} // namespace vantry::TypingRules
