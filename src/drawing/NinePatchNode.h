#pragma once

#include <QImage>
#include <QRectF>
#include <QSGImageNode>
#include <QSGNode>

#include <array>
#include <memory>

class QQuickWindow;

namespace vantry {

/// A small picture that is drawn at any size: its corners as they are, what is between them stretched. Costs the same
/// at every size and needs no shader. Owns its texture. On the thread that draws the window alone, as all nodes.
class NinePatchNode final : public QSGNode
{
public:
    /// A shadow has nothing in the middle that anybody sees.
    enum class Middle { Drawn, LeftOut };

    explicit NinePatchNode(QQuickWindow &window, Middle middle = Middle::Drawn);

    /// The picture is a square of twice the border and one pixel, which is the one that is stretched.
    void setPicture(QQuickWindow &window, const QImage &picture, int border);
    /// Where it is drawn. Corners that would overlap are pressed together.
    void layOut(const QRectF &area);

private:
    using Stops = std::array<qreal, 4>;

    [[nodiscard]] Stops stops(qreal start, qreal length) const;

    std::array<QSGImageNode *, 9> m_pieces {}; ///< Row by row; null for a middle that is left out.
    std::unique_ptr<QSGTexture> m_texture;
    int m_border { 0 };
};

} // namespace vantry
