#include "gallery/NotchSurfacePictures.h"

#include "DynamicNotchKit/NotchSurface.h"
#include "support/ManualClock.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

using enum DynamicNotchState;

constexpr double cellWidth = 490;
constexpr SpringAnimation settling { 0.4, 1.0 };

/// Surfaces that stand still, each at a moment of its own.
class Moments
{
public:
    /// What is left of the motion from one state to another after a time.
    void add(const QString &label, const DynamicNotchStyle &style, DynamicNotchState from, DynamicNotchState to,
             Seconds after, bool isHovered = false)
    {
        const DynamicNotch::Contents contents { .expanded = { QUrl(u"qrc:/gallery/NotchSurfaceContent.qml"_s) },
                                                .compactLeading = { QUrl(u"qrc:/gallery/NotchSurfaceSide.qml"_s) },
                                                .compactTrailing = { QUrl(u"qrc:/gallery/NotchSurfaceSide.qml"_s) } };
        auto &clock = *m_clocks.emplace_back(std::make_unique<test::ManualClock>());
        auto &surface =
            *m_surfaces.emplace_back(std::make_unique<NotchSurface>(clock, contents, std::function<bool()>()));
        surface.begin({ .style = style, .notchSize = { 200, 28 }, .screenSize = { 1920, 1080 } });
        surface.setWindow(cellWidth, qGuiApp->devicePixelRatio());
        surface.setHasShadow(true);
        surface.setLeadingContentWidth(26);
        surface.setTrailingContentWidth(26);
        surface.setExpandedContentSize({ 390, 420 });
        surface.fadeIn();
        surface.setState(from, settling);
        clock.advance(Seconds(5));
        surface.advance();
        surface.setHoveredStronger(isHovered);
        const DynamicNotchTransitionConfiguration transitions;
        surface.setState(to, from == hidden   ? transitions.opening(style)
                             : to == expanded ? transitions.conversion()
                                              : transitions.closing());
        clock.advance(after);
        surface.advance();
        m_cells.append(QVariantMap { { u"label"_s, label }, { u"surface"_s, QVariant::fromValue(&surface) } });
    }

    [[nodiscard]] const QVariantList &cells() const { return m_cells; }

private:
    std::vector<std::unique_ptr<test::ManualClock>> m_clocks;
    std::vector<std::unique_ptr<NotchSurface>> m_surfaces;
    QVariantList m_cells;
};

Picture surfacePicture(const QString &name, const std::function<void(Moments &)> &fill)
{
    Picture picture { .name = name, .prepare = [](PanelWorld &) {} };
    picture.frame = [fill](PanelWorld &, bool isDark) {
        const auto moments = std::make_shared<Moments>();
        fill(*moments);
        return PictureFrame { .file = u"NotchSurfaceFrame.qml"_s,
                              .properties = { { u"cells"_s, moments->cells() }, { u"isDark"_s, isDark } },
                              .theme = {},
                              .keeps = moments };
    };
    return picture;
}

void addStates(Moments &moments)
{
    const auto notch = DynamicNotchStyle::notch();
    const auto floating = DynamicNotchStyle::floating();
    constexpr Seconds longAfter(5);
    moments.add(u"compact"_s, notch, compact, compact, longAfter);
    moments.add(u"compact, under the pointer"_s, notch, compact, compact, longAfter, true);
    moments.add(u"expanded"_s, notch, compact, expanded, longAfter);
    moments.add(u"expanded, under the pointer"_s, notch, compact, expanded, longAfter, true);
    moments.add(u"hidden"_s, notch, compact, hidden, longAfter);
    moments.add(u"floating"_s, floating, hidden, expanded, longAfter);
    moments.add(u"floating, under the pointer"_s, floating, hidden, expanded, longAfter, true);
    moments.add(u"floating, on its way"_s, floating, hidden, expanded, Seconds(0.12));
}

void addSteps(Moments &moments)
{
    constexpr std::array milliseconds { 0, 60, 120, 200, 400 };
    const auto notch = DynamicNotchStyle::notch();
    for (const int time : milliseconds)
        moments.add(u"expanding, %1 ms"_s.arg(time), notch, compact, expanded, std::chrono::milliseconds(time), true);
    for (const int time : milliseconds)
        moments.add(u"collapsing, %1 ms"_s.arg(time), notch, expanded, compact, std::chrono::milliseconds(time));
}

} // namespace

void addNotchSurfacePictures(std::vector<Picture> &all)
{
    all.push_back(surfacePicture(u"surface-states"_s, addStates));
    all.push_back(surfacePicture(u"surface-steps"_s, addSteps));
}

} // namespace vantry::gallery
