#include "DynamicNotchKit/DynamicNotchInfo.h"

#include <algorithm>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

DynamicNotchInfoLabel DynamicNotchInfoLabel::ofImage(const QUrl &image)
{
    DynamicNotchInfoLabel label;
    label.m_kind = Image;
    label.m_source = image;
    return label;
}

DynamicNotchInfoLabel DynamicNotchInfoLabel::ofSystemImage(const QString &name, const QColor &color)
{
    DynamicNotchInfoLabel label;
    label.m_kind = SystemImage;
    label.m_name = name;
    label.m_color = color;
    return label;
}

DynamicNotchInfoLabel DynamicNotchInfoLabel::ofProgress(double progress, const QColor &color)
{
    DynamicNotchInfoLabel label;
    label.m_kind = Progress;
    label.m_progress = progress > 0 ? std::min(progress, 1.0) : 0;
    label.m_color = color;
    return label;
}

DynamicNotchInfoLabel DynamicNotchInfoLabel::ofView(const DynamicNotchView &view)
{
    DynamicNotchInfoLabel label;
    label.m_kind = View;
    label.m_source = view.source;
    label.m_properties = view.properties;
    return label;
}

DynamicNotchInfo::DynamicNotchInfo(const DynamicNotch::Surroundings &surroundings, const DynamicNotch::Options &options)
    : m_notch(surroundings, contents(), options)
{
    m_notch.setDisableCompactLeading(true);
    m_notch.setDisableCompactTrailing(true);
    m_notch.onHoverChanged = [this](bool isHovering) {
        if (onHoverChanged)
            onHoverChanged(isHovering);
    };
}

void DynamicNotchInfo::expand(const ScreenInfo &screen, Done done)
{
    m_notch.expand(screen, std::move(done));
}

void DynamicNotchInfo::compact(const ScreenInfo &screen, Done done)
{
    m_notch.compact(screen, std::move(done));
}

void DynamicNotchInfo::hide(Done done)
{
    m_notch.hide(std::move(done));
}

void DynamicNotchInfo::makeKeyWindow()
{
    m_notch.makeKeyWindow();
}

void DynamicNotchInfo::setIcon(const DynamicNotchInfoLabel &icon)
{
    m_icon = icon;
    Q_EMIT changed();
}

void DynamicNotchInfo::setTitle(const QString &title)
{
    m_title = title;
    Q_EMIT changed();
}

void DynamicNotchInfo::setDescription(const QString &description)
{
    m_description = description;
    Q_EMIT changed();
}

void DynamicNotchInfo::setTextColor(const QColor &color)
{
    m_textColor = color;
    Q_EMIT changed();
}

void DynamicNotchInfo::setCompactLeading(const DynamicNotchInfoLabel &label)
{
    m_compactLeading = label;
    m_notch.setDisableCompactLeading(label.kind() == DynamicNotchInfoLabel::None);
    Q_EMIT changed();
}

void DynamicNotchInfo::setCompactTrailing(const DynamicNotchInfoLabel &label)
{
    m_compactTrailing = label;
    m_notch.setDisableCompactTrailing(label.kind() == DynamicNotchInfoLabel::None);
    Q_EMIT changed();
}

DynamicNotch::Contents DynamicNotchInfo::contents()
{
    const auto view = [this](const QString &file, const QVariantMap &more = {}) {
        QVariantMap properties { { u"info"_s, QVariant::fromValue(this) } };
        properties.insert(more);
        return DynamicNotchView { QUrl(u"qrc:/qt/qml/Vantry/DynamicNotchKit/"_s + file), properties };
    };
    return { .expanded = view(u"InfoView.qml"_s),
             .compactLeading = view(u"InfoSideView.qml"_s, { { u"isLeading"_s, true } }),
             .compactTrailing = view(u"InfoSideView.qml"_s, { { u"isLeading"_s, false } }) };
}

} // namespace vantry
