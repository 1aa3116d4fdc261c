#include "gallery/ClippedText.h"

#include <QColor>
#include <QList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

/// Glyphs may reach out of their line by as much.
constexpr qreal tolerance = 1.5;

struct ShownText
{
    QQuickItem *item;
    QRectF rect; ///< What of it can be seen, in the scene.
};

bool isSeen(const QQuickItem *item)
{
    for (; item; item = item->parentItem()) {
        if (item->opacity() <= 0)
            return false;
    }
    return true;
}

QRectF paintedRect(const QQuickItem *text)
{
    const qreal width = std::min(text->property("contentWidth").toReal(), text->width());
    const qreal height = std::min(text->property("contentHeight").toReal(), text->height());
    const int alignment = text->property("effectiveHorizontalAlignment").toInt();
    const qreal x = alignment == Qt::AlignRight     ? text->width() - width
                    : alignment == Qt::AlignHCenter ? (text->width() - width) / 2
                                                    : 0;
    return { x, (text->height() - height) / 2, width, height };
}

QString described(const QQuickItem *text)
{
    return u'"' + text->property("text").toString().left(40) + u'"';
}

void gather(QQuickItem *item, QList<ShownText> &texts, QStringList &faults)
{
    if (!item->isVisible() || !isSeen(item))
        return;
    if (item->inherits("QQuickRectangle") && item->property("color").value<QColor>().alpha() == 255 &&
        item->opacity() == 1) {
        // What is drawn later lies over what was drawn before.
        const QRectF cover = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        erase_if(texts, [&](const ShownText &text) { return cover.contains(text.rect); });
    }
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
        const bool isCut = item->property("contentWidth").toReal() > item->width() + tolerance ||
                           item->property("contentHeight").toReal() > item->height() + tolerance;
        if (isCut && !item->property("truncated").toBool())
            faults.append(described(item) + u" is cut off"_s);
        QRectF seen = item->mapRectToScene(paintedRect(item));
        for (QQuickItem *holder = item->parentItem(); holder; holder = holder->parentItem()) {
            const QRectF room = holder->mapRectToScene(QRectF(0, 0, holder->width(), holder->height()));
            const bool scrolls = holder->inherits("QQuickFlickable");
            if (holder->clip() && !scrolls &&
                !room.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(seen))
                faults.append(described(item) + u" stands outside of what holds it"_s);
            if (holder->clip())
                seen &= room;
        }
        if (!seen.isEmpty())
            texts.append({ item, seen });
    }
    const auto children = item->childItems();
    for (QQuickItem *child : children)
        gather(child, texts, faults);
}

} // namespace

QStringList faultsOfTexts(QQuickItem *root)
{
    QList<ShownText> texts;
    QStringList faults;
    gather(root, texts, faults);
    for (qsizetype i = 0; i < texts.size(); ++i) {
        for (qsizetype k = i + 1; k < texts.size(); ++k) {
            const QRectF shared = texts.at(i).rect & texts.at(k).rect;
            if (shared.width() > tolerance && shared.height() > 2 * tolerance)
                faults.append(described(texts.at(i).item) + u" and "_s + described(texts.at(k).item) +
                              u" stand on each other"_s);
        }
    }
    return faults;
}

} // namespace vantry::gallery
