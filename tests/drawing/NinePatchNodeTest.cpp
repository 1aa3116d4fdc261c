#include "drawing/NinePatchNode.h"

#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

constexpr int border = 4;

/// Red corners, green sides, a blue pixel in the middle.
QImage picture()
{
    QImage image(2 * border + 1, 2 * border + 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::red);
    QPainter painter(&image);
    painter.fillRect(border, 0, 1, image.height(), Qt::green);
    painter.fillRect(0, border, image.width(), 1, Qt::green);
    painter.fillRect(border, border, 1, 1, Qt::blue);
    return image;
}

class NinePatch final : public QQuickItem
{
public:
    explicit NinePatch(NinePatchNode::Middle middle)
        : m_middle(middle)
    {
        setFlag(ItemHasContents);
    }

protected:
    QSGNode *updatePaintNode(QSGNode *old, UpdatePaintNodeData * /*data*/) override
    {
        auto *node = static_cast<NinePatchNode *>(old);
        if (!node) {
            node = new NinePatchNode(*window(), m_middle);
            node->setPicture(*window(), picture(), border);
        }
        node->layOut(boundingRect());
        return node;
    }

private:
    const NinePatchNode::Middle m_middle;
};

/// What is drawn at this size, on white.
QImage draw(const QSize &size, NinePatchNode::Middle middle = NinePatchNode::Middle::Drawn)
{
    QQuickWindow window;
    window.setColor(Qt::white);
    window.resize(40, 40);
    NinePatch item(middle);
    item.setParentItem(window.contentItem());
    item.setSize(size);
    window.show();
    return window.grabWindow();
}

TEST(NinePatchNode, keepsTheCornersAndStretchesWhatIsBetween)
{
    const QImage drawn = draw({ 40, 20 });
    for (const QPoint corner : { QPoint(0, 0), QPoint(39, 0), QPoint(0, 19), QPoint(39, 19) })
        EXPECT_EQ(drawn.pixelColor(corner), QColor(Qt::red));
    for (const QPoint side : { QPoint(border + 1, 0), QPoint(20, 1), QPoint(1, 10), QPoint(38, 10), QPoint(20, 18) })
        EXPECT_EQ(drawn.pixelColor(side), QColor(Qt::green));
    EXPECT_EQ(drawn.pixelColor(20, 10), QColor(Qt::blue));
}

TEST(NinePatchNode, leavesTheMiddleOutWhenNobodySeesIt)
{
    const QImage drawn = draw({ 40, 20 }, NinePatchNode::Middle::LeftOut);
    EXPECT_EQ(drawn.pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(drawn.pixelColor(20, 1), QColor(Qt::green));
    EXPECT_EQ(drawn.pixelColor(20, 10), QColor(Qt::white));
}

TEST(NinePatchNode, pressesCornersTogetherThatWouldOverlap)
{
    const QImage drawn = draw({ border, border });
    EXPECT_EQ(drawn.pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(drawn.pixelColor(border - 1, border - 1), QColor(Qt::red));
    EXPECT_EQ(drawn.pixelColor(border, border), QColor(Qt::white)) << "beyond its area";
}

} // namespace
} // namespace vantry::test
