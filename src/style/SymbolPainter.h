#pragma once

#include <QColor>
#include <QImage>
#include <QString>

class QPainter;
class QRectF;

namespace vantry {

/// Draws the design's symbols and the program's mark, in one colour, as sharp as what it paints on. Main thread only.
namespace symbolPainter {

/// Whether there is a symbol of this name.
[[nodiscard]] bool isKnown(const QString &name);

/// Paints the symbol as large as fits into a square in the middle of the area, turned clockwise by the angle in
/// degrees. An empty name paints nothing; an unknown one neither, with a warning.
void paint(QPainter &painter, const QString &name, const QRectF &area, const QColor &color, qreal angle = 0);

/// Paints the mark: the ring and the bead in its gap.
void paintMark(QPainter &painter, const QRectF &area, const QColor &ring, const QColor &bead, qreal angle = 0);

} // namespace symbolPainter
} // namespace vantry
