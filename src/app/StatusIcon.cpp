#include "app/StatusIcon.h"

#include "style/SymbolPainter.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>
#include <QStringList>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// The picture is drawn on a grid of so many units.
constexpr qreal grid = 16;

void paintBadge(QPainter &painter, const StatusPicture &picture)
{
    constexpr qreal height = 9.5;
    constexpr qreal gap = 1;
    constexpr int most = 9;
    const QString text = picture.waiting > most ? u"9+"_s : QString::number(picture.waiting);
    const qreal width = text.size() > 1 ? height + 3 : height;
    const QRectF badge(grid - width, grid - height, width, height);

    // The bar shows between the mark and the badge.
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.drawRoundedRect(badge.adjusted(-gap, -gap, gap, gap), height / 2 + gap, height / 2 + gap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setBrush(picture.badge);
    painter.drawRoundedRect(badge, height / 2, height / 2);

    QFont font = painter.font();
    font.setPixelSize(8);
    font.setWeight(QFont::Bold);
    painter.setFont(font);
    painter.setPen(picture.onBadge);
    painter.drawText(badge, Qt::AlignCenter, text);
}

} // namespace

BarTone barTone(const QString &desktopNames, bool prefersDark)
{
    const QStringList names = desktopNames.split(u':');
    const auto is = [&names](QStringView name) { return names.contains(name, Qt::CaseInsensitive); };
    if (is(u"GNOME") || is(u"Unity") || is(u"X-Cinnamon") || is(u"Pantheon"))
        return BarTone::Dark;
    if (is(u"KDE"))
        return prefersDark ? BarTone::Dark : BarTone::Light;
    return BarTone::Unknown;
}

QImage paintStatusPicture(const StatusPicture &picture, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / grid, size / grid);
    symbolPainter::paintMark(painter, QRectF(0, 0, grid, grid), picture.ring,
                             picture.waiting > 0 ? picture.bead : picture.ring, 0);
    if (picture.waiting > 0)
        paintBadge(painter, picture);
    return image;
}

QIcon statusIcon(const StatusPicture &picture)
{
    QIcon icon;
    for (const int size : { 16, 22, 24, 32, 44, 48, 64 })
        icon.addPixmap(QPixmap::fromImage(paintStatusPicture(picture, size)));
    return icon;
}

} // namespace vantry
