#include "drawing/NinePatchNode.h"

#include <QQuickWindow>

#include <algorithm>

namespace vantry {

namespace {

constexpr std::size_t across = 3;
constexpr std::size_t middlePiece = 4;

} // namespace

NinePatchNode::NinePatchNode(QQuickWindow &window, Middle middle)
{
    for (std::size_t index = 0; index < m_pieces.size(); ++index) {
        if (index == middlePiece && middle == Middle::LeftOut)
            continue;
        m_pieces[index] = window.createImageNode();
        m_pieces[index]->setFiltering(QSGTexture::Linear);
        appendChildNode(m_pieces[index]);
    }
}

void NinePatchNode::setPicture(QQuickWindow &window, const QImage &picture, int border)
{
    std::unique_ptr<QSGTexture> texture(window.createTextureFromImage(picture, QQuickWindow::TextureHasAlphaChannel));
    for (QSGImageNode *piece : m_pieces) {
        if (piece)
            piece->setTexture(texture.get());
    }
    m_texture = std::move(texture);
    m_border = border;
}

void NinePatchNode::layOut(const QRectF &area)
{
    const Stops source { 0, qreal(m_border), qreal(m_border + 1), qreal(2 * m_border + 1) };
    const Stops columns = stops(area.left(), area.width());
    const Stops rows = stops(area.top(), area.height());
    const auto piece = [](const Stops &x, const Stops &y, std::size_t column, std::size_t row) {
        return QRectF(QPointF(x[column], y[row]), QPointF(x[column + 1], y[row + 1]));
    };
    for (std::size_t index = 0; index < m_pieces.size(); ++index) {
        if (!m_pieces[index])
            continue;
        m_pieces[index]->setRect(piece(columns, rows, index % across, index / across));
        m_pieces[index]->setSourceRect(piece(source, source, index % across, index / across));
    }
}

NinePatchNode::Stops NinePatchNode::stops(qreal start, qreal length) const
{
    const qreal border = std::min(qreal(m_border), length / 2);
    return { start, start + border, start + length - border, start + length };
}

} // namespace vantry
