#include "DynamicNotchKit/NotchShapeItem.h"

#include "DynamicNotchKit/NotchShape.h"

#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>

#include <array>
#include <cmath>
#include <memory>

namespace vantry {

namespace {

/// A corner at the left side, and its mirror image at the right one.
class CornerNodes
{
public:
    CornerNodes(QQuickWindow &window, QSGNode &parent)
        : m_window(window)
    {
        for (auto &node : m_nodes) {
            node = window.createImageNode();
            parent.appendChildNode(node);
        }
    }

    void setPictures(QImage left)
    {
        // A node can't do without a texture.
        if (left.isNull()) {
            left = QImage(1, 1, QImage::Format_ARGB32_Premultiplied);
            left.fill(Qt::transparent);
        }
        const std::array<QImage, 2> pictures { left, left.mirrored(true, false) };
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            std::unique_ptr<QSGTexture> texture(
                m_window.createTextureFromImage(pictures[i], QQuickWindow::TextureHasAlphaChannel));
            m_nodes[i]->setTexture(texture.get());
            m_nodes[i]->setSourceRect(QRectF({}, QSizeF(pictures[i].size())));
            m_textures[i] = std::move(texture);
        }
    }

    void setRects(const QRectF &left, double width)
    {
        m_nodes[0]->setRect(left);
        m_nodes[1]->setRect(QRectF({ width - left.right(), left.top() }, left.size()));
    }

private:
    QQuickWindow &m_window;
    std::array<QSGImageNode *, 2> m_nodes {};
    std::array<std::unique_ptr<QSGTexture>, 2> m_textures;
};

class ShapeNode final : public QSGNode
{
public:
    explicit ShapeNode(QQuickWindow &window)
        : m_top(window, *this)
        , m_bottom(window, *this)
    {
        for (auto &part : m_parts) {
            part = window.createRectangleNode();
            part->setColor(Qt::black);
            appendChildNode(part);
        }
    }

    void layOut(const QSizeF &size, NotchShape shape, double ratio)
    {
        shape = shape.fitting(size);
        // The parts meet at whole pixels, so that no seam is seen.
        const double t = std::floor(shape.topCornerRadius * ratio) / ratio;
        const double b = std::floor(shape.bottomCornerRadius * ratio) / ratio;
        shape = { t, b };
        const QRectF top(0, 0, t, t);
        const QRectF bottom(t, size.height() - b, b, b);
        if (shape != m_shape || ratio != m_ratio) {
            const QPainterPath path = shape.path(QRectF({}, size));
            m_top.setPictures(picture(path, top, ratio));
            m_bottom.setPictures(picture(path, bottom, ratio));
            m_shape = shape;
            m_ratio = ratio;
        }
        m_top.setRects(top, size.width());
        m_bottom.setRects(bottom, size.width());
        m_parts[0]->setRect(QRectF(t, 0, size.width() - 2 * t, size.height() - b));
        m_parts[1]->setRect(QRectF(t + b, size.height() - b, size.width() - 2 * (t + b), b));
    }

private:
    static QImage picture(const QPainterPath &path, const QRectF &area, double ratio)
    {
        QImage image((area.size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
        if (image.isNull())
            return image;
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(ratio, ratio);
        painter.translate(-area.topLeft());
        painter.fillPath(path, Qt::black);
        return image;
    }

    CornerNodes m_top;
    CornerNodes m_bottom;
    std::array<QSGRectangleNode *, 2> m_parts {};
    NotchShape m_shape;
    double m_ratio { 0 };
};

} // namespace

NotchShapeItem::NotchShapeItem(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void NotchShapeItem::setTopCornerRadius(double radius)
{
    if (radius == m_topCornerRadius)
        return;
    m_topCornerRadius = radius;
    update();
    Q_EMIT changed();
}

void NotchShapeItem::setBottomCornerRadius(double radius)
{
    if (radius == m_bottomCornerRadius)
        return;
    m_bottomCornerRadius = radius;
    update();
    Q_EMIT changed();
}

void NotchShapeItem::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode *NotchShapeItem::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/)
{
    if (width() <= 0 || height() <= 0) {
        delete node;
        return nullptr;
    }
    auto *shape = static_cast<ShapeNode *>(node);
    if (!shape)
        shape = new ShapeNode(*window());
    shape->layOut(size(), { m_topCornerRadius, m_bottomCornerRadius }, window()->effectiveDevicePixelRatio());
    return shape;
}

} // namespace vantry
