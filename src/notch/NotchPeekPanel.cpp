#include "notch/NotchPeekPanel.h"

#include "platform/OverlayWindows.h"
#include "style/Appearance.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QQuickView>
#include <QScreen>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize cardSize(300, 52);
/// Between the notch and the card.
constexpr int gap = 4;
/// Of the card's corners; the design's length "radiusPeek".
constexpr int cornerRadius = 14;
/// Enough for the shadow of the design's elevation "panel".
constexpr int roomForShadow = 40;

QScreen *screenOf(const QString &name)
{
    const auto screens = QGuiApplication::screens();
    const auto found = std::ranges::find(screens, name, &QScreen::name);
    return found != screens.end() ? *found : nullptr;
}

QRegion roundedRegion(const QRect &rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return QRegion(path.toFillPolygon().toPolygon());
}

} // namespace

QRect peekCardFrame(const ScreenInfo &screen, double textScale)
{
    const QSize size = (QSizeF(cardSize) * textScale).toSize();
    const int middle = screen.frame.x() + screen.frame.width() / 2;
    return { QPoint(middle - size.width() / 2, screen.frame.y() + screen.topInset + gap), size };
}

NotchPeekPanel::NotchPeekPanel(Surroundings surroundings)
    : m_surroundings(std::move(surroundings))
{
    connect(&m_surroundings.appearance, &Appearance::changed, this, &NotchPeekPanel::fit);
}

NotchPeekPanel::~NotchPeekPanel() = default;

void NotchPeekPanel::open(const std::shared_ptr<NotchPeekCardModel> &card, const ScreenInfo &screen)
{
    if (!m_surroundings.overlays.canPlace())
        return;
    m_fadeOutEnd.cancel();
    // The one before stays until nobody shows it any more.
    const auto before = std::exchange(m_card, card);
    m_screen = screen;
    Q_EMIT cardChanged();
    if (!m_view)
        makeView();
    fit();
    m_view->show();
    setOpen(true);
    Q_EMIT opened();
}

void NotchPeekPanel::close(Closing closing)
{
    setOpen(false);
    if (!m_view)
        return;
    if (closing == Closing::AtOnce)
        drop();
    else if (!m_fadeOutEnd.isActive())
        m_fadeOutEnd = m_surroundings.scheduler.after(fadeOut, [this] { drop(); });
}

void NotchPeekPanel::makeView()
{
    m_view = std::make_unique<QQuickView>(&m_surroundings.engine(), nullptr);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setColor(Qt::transparent);
    m_view->setTitle(u"Vantry Card"_s);
    m_view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                     Qt::NoDropShadowWindowHint | Qt::BypassWindowManagerHint);
    m_view->setProperty("vantryTheme", u"notch"_s);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setInitialProperties({ { u"panel"_s, QVariant::fromValue(this) } });
    m_view->setSource(QUrl(u"qrc:/qt/qml/Vantry/Notch/NotchPeekFrame.qml"_s));
    m_view->create();
    m_surroundings.overlays.setUpOverlay(*m_view);
}

void NotchPeekPanel::setOpen(bool isOpen)
{
    if (std::exchange(m_isOpen, isOpen) != isOpen)
        Q_EMIT isOpenChanged();
}

void NotchPeekPanel::fit()
{
    if (!m_view)
        return;
    const int margin = m_surroundings.overlays.hasCompositor() ? roomForShadow : 0;
    if (std::exchange(m_shadowMargin, margin) != margin)
        Q_EMIT shadowMarginChanged();
    const double textScale = m_surroundings.appearance.preferences().textScale;
    const QRect card = peekCardFrame(m_screen, textScale);
    if (QScreen *screen = screenOf(m_screen.name))
        m_view->setScreen(screen);
    m_view->setGeometry(card.adjusted(-margin, -margin, margin, margin));
    m_surroundings.overlays.setInputArea(
        *m_view, roundedRegion(QRect(QPoint(margin, margin), card.size()), cornerRadius * textScale));
}

void NotchPeekPanel::drop()
{
    m_view.reset();
    m_card.reset();
    m_fadeOutEnd.cancel();
}

} // namespace vantry
