#pragma once

#include "sessions/VantrySession.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

/// What may be typed into a session, by what its agent shows at the moment. Keys that reach an open dialog answer it:
/// Return approves a permission and takes the option under the cursor, letters before it are ignored, ESC declines. So
/// nothing is typed into a dialog but the answer to it. Main thread only.
namespace vantry::TypingRules {

/// Texts that are typed one after another with a pause after each, and Return behind them if they are submitted.
struct Keystrokes
{
    QStringList texts;
    bool submits { false };
    friend bool operator==(const Keystrokes &, const Keystrokes &) = default;
};
/// Why nothing may be typed, as one line for a person.
using Refusal = QString;
using Decision = std::variant<Keystrokes, Refusal>;

/// Why no line would be typed now; nothing when one would.
[[nodiscard]] std::optional<Refusal> refusalOfText(const VantrySession &session);
/// What brings a line to the agent: the line itself, or a free answer when one question with a single choice is open.
[[nodiscard]] Decision keysForText(const VantrySession &session, const QString &line);
/// What takes an option, from 0, of the one question with a single choice that is open.
[[nodiscard]] Decision keysForAnswer(const VantrySession &session, int index);

/// Why no option can have this index, whatever else; nothing when one may.
[[nodiscard]] std::optional<Refusal> defectOfIndex(const VantrySession &session, int index);
/// Why a choice would not answer what is open, as far as that is known.
[[nodiscard]] std::optional<Refusal> refusalOfChoice(const VantrySession &session);

/// Without what a terminal takes for keys: control characters other than the tab.
[[nodiscard]] QString withoutControlCharacters(QString text);

} // namespace vantry::TypingRules
