#pragma once

#include "app/CommandTable.h"

namespace vantry {

/// The text as one word in single quotes, which all of the shells understand.
[[nodiscard]] QString shellQuoted(const QString &text);

/// What is offered beside a name: the summary's first clause.
[[nodiscard]] QString shortSummary(QStringView summary);

/// A first word, and what can stand behind it.
struct FirstWord
{
    QString word;
    QString summary;
    std::vector<const CommandEntry *> commands; ///< One, or those that share it as their first of two words.
    [[nodiscard]] bool hasSecondWords() const { return commands.front()->name.contains(u' '); }
};
[[nodiscard]] std::vector<FirstWord> firstWords();
[[nodiscard]] QString lastWord(const CommandEntry &command);

/// All options that take a value, each once.
[[nodiscard]] std::vector<OptionEntry> optionsWithValues();

} // namespace vantry
