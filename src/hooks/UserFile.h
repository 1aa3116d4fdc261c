#pragma once

#include "base/JsonText.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

/// Files in the user's own folders, which other programs use, too: they are replaced whole, so that nobody ever reads
/// half a file. All of these throw std::runtime_error, with the path and the reason, when they fail. Any thread.
namespace vantry {

void makeFolderOf(const QString &path);

/// The file's bytes; nothing when there is no such file. What is not a regular file fails and is not waited for.
[[nodiscard]] std::optional<QByteArray> readRegularFile(const QString &path);

/// Puts a file with these permission bits into the path's place.
void replaceFile(const QString &path, const QByteArray &bytes, unsigned mode);

/// The file's value; an empty object when there is no such file. Fails when it is not JSON.
[[nodiscard]] JsonText readJsonFile(const QString &path);

/// Replaces the value by what `edit` makes of it, through symbolic links, keeping the file's mode and owner; a missing
/// file is made, readable by its owner alone. False when somebody else changed the file meanwhile: then it is as they
/// left it.
[[nodiscard]] bool editJsonFile(const QString &path, const std::function<JsonText(JsonText)> &edit);

} // namespace vantry
