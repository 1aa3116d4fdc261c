#pragma once

#include "style/Palette.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <nlohmann/json_fwd.hpp>

namespace vantry {

/// tokens.json, the one source of the design's values; it is part of the program. Read at the first use and kept. A
/// value that is missing is a defect of the program, and ends it with the value's name. Main thread only.
namespace designTokens {

[[nodiscard]] const nlohmann::json &document();

/// "light", "dark" or "notch".
[[nodiscard]] Palette palette(const char *theme);
[[nodiscard]] qreal length(const char *name);
/// Families in the order in which they are tried: "ui" or "mono".
[[nodiscard]] QStringList families(const char *kind);
/// The icon for each symbol; "drawn" stands for one of our own.
[[nodiscard]] const QHash<QString, QString> &symbols();

} // namespace designTokens
} // namespace vantry
