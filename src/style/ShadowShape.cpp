#include "style/ShadowShape.h"

#include "style/ShadowImage.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <array>
#include <memory>

namespace vantry {
namespace {

/// Nine pieces that share one texture.
class ShadowNode final : public QSGNode
{
public:
    explicit ShadowNode(QQuickWindow &window)
    {
        for (auto &piece : m_pieces) {
            piece = window.createImageNode();
            piece->setFiltering(QSGTexture::Linear);
            appendChildNode(piece);
        }
    }

    void setTexture(std::unique_ptr<QSGTexture> texture, int border)
    {
        for (auto *piece : m_pieces)
            piece->setTexture(texture.get());
        m_texture = std::move(texture);
        m_border = border;
    }

    void layOut(const QRectF &area)
    {
        const auto source = std::array<qreal, 4> { 0, qreal(m_border), qreal(m_border + 1), qreal(2 * m_border + 1) };
        const auto across = stops(area.left(), area.width());
        const auto down = stops(area.top(), area.height());
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t column = 0; column < 3; ++column) {
                auto *piece = m_pieces[row * 3 + column];
                piece->setRect(QRectF(QPointF(across[column], down[row]), QPointF(across[column + 1], down[row + 1])));
                piece->setSourceRect(
                    QRectF(QPointF(source[column], source[row]), QPointF(source[column + 1], source[row + 1])));
            }
        }
    }

private:
    [[nodiscard]] std::array<qreal, 4> stops(qreal start, qreal length) const
    {
        const auto border = std::min(qreal(m_border), length / 2);
        return { start, start + border, start + length - border, start + length };
    }

    std::array<QSGImageNode *, 9> m_pieces {};
    std::unique_ptr<QSGTexture> m_texture;
    int m_border { 0 };
};

} // namespace

ShadowShape::ShadowShape(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void ShadowShape::setElevation(const QString &elevation)
{
    if (elevation == m_elevation)
        return;
    m_elevation = elevation;
    repaint();
}

void ShadowShape::setRadius(qreal radius)
{
    if (radius == m_radius)
        return;
    m_radius = radius;
    repaint();
}

void ShadowShape::setColor(const QColor &color)
{
    if (color == m_color)
        return;
    m_color = color;
    repaint();
}

void ShadowShape::setIsOnDark(bool isOnDark)
{
    if (isOnDark == m_isOnDark)
        return;
    m_isOnDark = isOnDark;
    repaint();
}

qreal ShadowShape::margin() const
{
    return Elevation::named(m_elevation, m_isOnDark).margin();
}

void ShadowShape::repaint()
{
    m_isImageCurrent = false;
    update();
    Q_EMIT changed();
}

void ShadowShape::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode *ShadowShape::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/)
{
    const auto elevation = Elevation::named(m_elevation, m_isOnDark);
    if (elevation.opacity <= 0 || width() <= 0 || height() <= 0) {
        delete node;
        return nullptr;
    }
    auto *shadow = static_cast<ShadowNode *>(node);
    if (!shadow)
        shadow = new ShadowNode(*window());
    if (!node || !m_isImageCurrent) {
        const ShadowImage picture(elevation, m_radius, m_color);
        shadow->setTexture(std::unique_ptr<QSGTexture>(
                               window()->createTextureFromImage(picture.image(), QQuickWindow::TextureHasAlphaChannel)),
                           picture.border());
        m_isImageCurrent = true;
    }
    const auto margin = elevation.margin();
    shadow->layOut(boundingRect().adjusted(-margin, -margin, margin, margin));
    return shadow;
}

} // namespace vantry
