#include "style/SymbolPainter.h"

#include "style/DesignTokens.h"

#include <QCache>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>
#include <memory>
#include <tuple>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace vantry::symbolPainter {
namespace {

/// Where the icon of a symbol lies in the program; empty for an unknown name.
QString fileOf(const QString &name)
{
    const auto icon = designTokens::symbols().constFind(name);
    if (icon == designTokens::symbols().cend())
        return {};
    return *icon == u"drawn"_s ? u":/vantry/symbols/%1.svg"_s.arg(name) : u":/vantry/icons/%1.svg"_s.arg(*icon);
}

/// Each file is read and parsed once. Nothing for a file that isn't there.
QSvgRenderer *pictureIn(const QString &path)
{
    static std::unordered_map<QString, std::unique_ptr<QSvgRenderer>> pictures;
    auto &picture = pictures[path];
    if (!picture)
        picture = std::make_unique<QSvgRenderer>(path);
    return picture->isValid() ? picture.get() : nullptr;
}

struct ImageKey
{
    QString path;
    int side;
    QRgb color;

    friend bool operator==(const ImageKey &, const ImageKey &) = default;
};

std::size_t qHash(const ImageKey &key, std::size_t seed = 0)
{
    return qHashMulti(seed, key.path, key.side, key.color);
}

QImage coloredImage(const ImageKey &key, const QColor &color)
{
    constexpr qsizetype cacheBytes = 1 << 20;
    static QCache<ImageKey, QImage> images(cacheBytes);
    if (const auto *image = images.object(key))
        return *image;

    QImage image(key.side, key.side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (auto *picture = pictureIn(key.path)) {
        QPainter painter(&image);
        picture->render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    images.insert(key, new QImage(image), image.sizeInBytes());
    return image;
}

/// How many of the device's pixels the painter sets for one of its own.
qreal scaleOf(const QPainter &painter)
{
    const auto &transform = painter.deviceTransform();
    return std::hypot(transform.m11(), transform.m12());
}

void paintFile(QPainter &painter, const QString &path, const QRectF &area, const QColor &color)
{
    const auto side = std::min(area.width(), area.height());
    const auto pixels = int(std::lround(side * scaleOf(painter)));
    if (pixels <= 0)
        return;
    const QRectF square(area.center() - QPointF(side / 2, side / 2), QSizeF(side, side));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(square, coloredImage({ path, pixels, color.rgba() }, color));
}

/// A turned picture is drawn from its paths: a turned image of it would be blurred.
void paintTurned(QPainter &painter, const QString &path, const QRectF &area, const QColor &color, qreal angle)
{
    const auto side = std::min(area.width(), area.height());
    const auto pixels = int(std::lround(side * scaleOf(painter)));
    auto *picture = pictureIn(path);
    if (pixels <= 0 || !picture)
        return;
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter turned(&image);
    turned.setRenderHint(QPainter::Antialiasing);
    turned.translate(pixels / 2.0, pixels / 2.0);
    turned.rotate(angle);
    picture->render(&turned, QRectF(-pixels / 2.0, -pixels / 2.0, pixels, pixels));
    turned.resetTransform();
    turned.setCompositionMode(QPainter::CompositionMode_SourceIn);
    turned.fillRect(image.rect(), color);
    turned.end();
    painter.drawImage(QRectF(area.center() - QPointF(side / 2, side / 2), QSizeF(side, side)), image);
}

} // namespace

bool isKnown(const QString &name)
{
    return designTokens::symbols().contains(name);
}

void paint(QPainter &painter, const QString &name, const QRectF &area, const QColor &color, qreal angle)
{
    if (name.isEmpty())
        return;
    const auto path = fileOf(name);
    if (path.isEmpty()) {
        qWarning("Symbol: there is no symbol \"%s\"", qUtf8Printable(name));
        return;
    }
    if (angle == 0)
        paintFile(painter, path, area, color);
    else
        paintTurned(painter, path, area, color, angle);
}

void paintMark(QPainter &painter, const QRectF &area, const QColor &ring, const QColor &bead, qreal angle)
{
    paintTurned(painter, u":/vantry/symbols/mark.svg"_s, area, ring, angle);
    constexpr QPointF beadCenter(12.24 - 8, 3.76 - 8);
    constexpr qreal beadRadius = 2.1;
    const auto side = std::min(area.width(), area.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(area.center());
    painter.scale(side / 16, side / 16);
    painter.rotate(angle);
    painter.setPen(Qt::NoPen);
    painter.setBrush(bead);
    painter.drawEllipse(beadCenter, beadRadius, beadRadius);
    painter.restore();
}

} // namespace vantry::symbolPainter
