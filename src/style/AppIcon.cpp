#include "style/AppIcon.h"

#include <QSvgRenderer>

namespace vantry {

void AppIcon::paint(QPainter *painter)
{
    static QSvgRenderer picture(QStringLiteral(":/vantry/app-icon.svg"));
    picture.render(painter, boundingRect());
}

} // namespace vantry
