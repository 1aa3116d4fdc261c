#pragma once

#include <QQuickItem>
#include <QStringList>

namespace vantry::gallery {

/// What a person would find wrong with the texts under an item: one that is cut off although it isn't elided, one that
/// stands outside of what holds it, two that stand on each other. A line for each.
[[nodiscard]] QStringList faultsOfTexts(QQuickItem *root);

} // namespace vantry::gallery
