#include "style/ShadowImage.h"

#include "style/DesignTokens.h"

#include <QPainter>
#include <QtMath>

#include <cmath>
#include <vector>

#include <nlohmann/json.hpp>

namespace vantry {
namespace {

/// Where a value of the square lies.
std::size_t indexOf(int x, int y, int side)
{
    return std::size_t(y) * std::size_t(side) + std::size_t(x);
}

/// Blurs the rows of a square of values by the kernel, and turns it over its diagonal: twice blurs it both ways.
std::vector<float> blurredAndTurned(const std::vector<float> &values, int side, const std::vector<float> &kernel)
{
    const auto reach = int(kernel.size() / 2);
    std::vector<float> result(values.size());
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            float sum = 0;
            std::size_t tap = 0;
            for (int k = -reach; k <= reach; ++k, ++tap) {
                if (x + k >= 0 && x + k < side)
                    sum += kernel[tap] * values[indexOf(x + k, y, side)];
            }
            result[indexOf(y, x, side)] = sum;
        }
    }
    return result;
}

std::vector<float> gaussianKernel(qreal deviation)
{
    const auto reach = qCeil(deviation * 3);
    std::vector<float> kernel;
    float sum = 0;
    for (int k = -reach; k <= reach; ++k) {
        kernel.push_back(float(std::exp(-k * k / (2 * deviation * deviation))));
        sum += kernel.back();
    }
    for (auto &value : kernel)
        value /= sum;
    return kernel;
}

} // namespace

Elevation Elevation::named(const QString &name, bool isOnDark)
{
    const auto &elevations = designTokens::document().at("elevations");
    const auto found = elevations.find(name.toStdString());
    if (found == elevations.end())
        return {};
    return { .y = found->at("y").get<qreal>(),
             .blur = found->at("blur").get<qreal>(),
             .opacity = found->at(isOnDark ? "opacityDark" : "opacityLight").get<qreal>() };
}

ShadowImage::ShadowImage(const Elevation &elevation, qreal radius, const QColor &color)
    : m_border(qCeil(elevation.margin() + elevation.blur + radius))
{
    const auto side = 2 * m_border + 1;
    QImage shape(side, side, QImage::Format_Grayscale8);
    shape.fill(0);
    QPainter painter(&shape);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    const auto margin = elevation.margin();
    painter.drawRoundedRect(QRectF(margin, margin + elevation.y, side - 2 * margin, side - 2 * margin), radius, radius);
    painter.end();

    std::vector<float> values;
    values.reserve(std::size_t(side) * std::size_t(side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            values.push_back(float(shape.constScanLine(y)[x]) / 255);
    }
    if (elevation.blur > 0) {
        const auto kernel = gaussianKernel(elevation.blur / 2);
        values = blurredAndTurned(blurredAndTurned(values, side, kernel), side, kernel);
    }

    m_image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            auto pixel = color;
            pixel.setAlphaF(values[indexOf(x, y, side)] * float(elevation.opacity));
            m_image.setPixel(x, y, qPremultiply(pixel.rgba()));
        }
    }
}

} // namespace vantry
