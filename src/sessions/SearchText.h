#pragma once

#include <QString>

#include <optional>

namespace vantry {

// What the full-text search is asked. Pure functions, any thread.

/// The user's words as an FTS5 expression that matches the beginnings of words: each piece between blanks in double
/// quotes with a "*" behind, so that no text is a syntax error. Words joined by a tab or a line break must all be
/// there, the last by its beginning. Empty when nothing is left to search for. What stands behind the first 64 words or
/// 4096 characters is not looked for, since every word costs a pass over the index.
[[nodiscard]] QString matchExpression(const QString &text);

/// An FTS5 expression that matches every row whose session_id is `id`, and maybe others with the same words in it;
/// nothing for an identifier that the index may have no word of.
[[nodiscard]] std::optional<QString> identifierExpression(const QString &id);

} // namespace vantry
