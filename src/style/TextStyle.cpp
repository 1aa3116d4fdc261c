#include "style/TextStyle.h"

#include <QFontMetricsF>

#include <algorithm>

namespace vantry {

TextStyle::TextStyle(QFont font, qreal lineHeight)
    : m_font(std::move(font))
    , m_lineHeight(lineHeight)
    , m_leading(std::max(0.0, (lineHeight - QFontMetricsF(m_font).height()) / 2))
{}

} // namespace vantry
