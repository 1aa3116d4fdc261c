#include "app/manual/ShellText.h"

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

QString shellQuoted(const QString &text)
{
    return u'\'' + QString(text).replace(u"'"_s, u"'\\''"_s) + u'\'';
}

QString shortSummary(QStringView summary)
{
    const QString text = summary.toString();
    return text.section(u';', 0, 0).section(u" ("_s, 0, 0);
}

std::vector<FirstWord> firstWords()
{
    std::vector<FirstWord> words;
    for (const CommandEntry *command : allCommands()) {
        const QString word = command->name.toString().section(u' ', 0, 0);
        if (!words.empty() && words.back().word == word) {
            words.back().commands.push_back(command);
            words.back().summary += u", " + shortSummary(command->summary);
        } else {
            words.push_back({ word, shortSummary(command->summary), { command } });
        }
    }
    return words;
}

QString lastWord(const CommandEntry &command)
{
    return command.name.toString().section(u' ', -1);
}

std::vector<OptionEntry> optionsWithValues()
{
    std::vector<OptionEntry> options;
    for (const CommandEntry *command : allCommands()) {
        for (const OptionEntry &option : command->options) {
            const auto isIt = [&option](const OptionEntry &other) { return other.id == option.id; };
            if (!option.value.isEmpty() && std::ranges::none_of(options, isIt))
                options.push_back(option);
        }
    }
    return options;
}

} // namespace vantry
