#include "DynamicNotchKit/DynamicNotchPanel.h"

#include "DynamicNotchKit/NotchContent.h"
#include "DynamicNotchKit/NotchGeometry.h"
#include "DynamicNotchKit/NotchSurface.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QtMath>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Out of the window manager's hands: it would give the window a place of its own choice, and the focus.
constexpr Qt::WindowFlags windowFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                        Qt::NoDropShadowWindowHint | Qt::BypassWindowManagerHint |
                                        Qt::WindowDoesNotAcceptFocus;

bool isKey(const QEvent &event)
{
    return event.type() == QEvent::KeyPress || event.type() == QEvent::KeyRelease ||
           event.type() == QEvent::ShortcutOverride || event.type() == QEvent::InputMethod;
}

} // namespace

DynamicNotchPanel::DynamicNotchPanel(QQmlEngine &engine, NotchSurface &surface, OverlayWindows &overlays,
                                     const Clock &clock)
    : QQuickView(&engine, nullptr)
    , m_surface(surface)
    , m_overlays(overlays)
    , m_clock(clock)
{
    QSurfaceFormat alpha = format();
    alpha.setAlphaBufferSize(8);
    setFormat(alpha);
    setColor(Qt::transparent);
    setFlags(windowFlags);
    setTitle(u"Vantry Notch"_s);
    setResizeMode(SizeRootObjectToView);
}

DynamicNotchPanel::~DynamicNotchPanel()
{
    disconnect(&m_surface, nullptr, this, nullptr);
    // What is half made can't be completed any more once its surroundings are being destroyed.
    if (rootObject()) {
        const auto contents = rootObject()->findChildren<NotchContent *>();
        for (NotchContent *content : contents)
            content->finish();
    }
}

void DynamicNotchPanel::load(const QVariantMap &properties)
{
    for (const auto &[name, value] : properties.asKeyValueRange())
        setProperty(name.toUtf8().constData(), value);
    setInitialProperties({ { u"surface"_s, QVariant::fromValue(&m_surface) } });
    setSource(QUrl(u"qrc:/qt/qml/Vantry/DynamicNotchKit/NotchContentView.qml"_s));
}

void DynamicNotchPanel::fit(const ScreenInfo &screen)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    const auto found = std::ranges::find(screens, screen.name, &QScreen::name);
    if (found != screens.end() && *found != this->screen())
        setScreen(*found);
    const QRect frame = notchWindowGeometry(screen, m_surface.neededWindowSize());
    if (frame != geometry())
        setGeometry(frame);
    m_surface.setWindow(frame.width(), devicePixelRatio());
}

void DynamicNotchPanel::orderFrontRegardless()
{
    if (!handle()) {
        create();
        m_overlays.setUpOverlay(*this);
        connect(&m_surface, &NotchSurface::changed, this, &DynamicNotchPanel::surfaceChanged);
        surfaceChanged();
    }
    show();
}

void DynamicNotchPanel::makeKeyWindow()
{
    m_takesFocus = true;
    setFlag(Qt::WindowDoesNotAcceptFocus, false);
}

void DynamicNotchPanel::resignKeyWindow()
{
    if (!m_takesFocus)
        return;
    m_takesFocus = false;
    m_surface.setKey(false);
    setFlag(Qt::WindowDoesNotAcceptFocus, true);
    if (isActive() && m_windowBefore)
        m_overlays.giveFocus(*m_windowBefore);
    m_windowBefore.reset();
}

bool DynamicNotchPanel::event(QEvent *event)
{
    if (isKey(*event) && m_clock.monotonicNow() < m_keysDroppedUntil) {
        // An accepted one is no shortcut either.
        event->accept();
        return true;
    }
    if (event->type() == QEvent::MouseButtonPress && m_takesFocus)
        takeFocus();
    followPointer(*event);
    return QQuickView::event(event);
}

void DynamicNotchPanel::surfaceChanged()
{
    const QRegion area = m_surface.region();
    if (area != m_inputArea) {
        m_inputArea = area;
        m_overlays.setInputArea(*this, area);
    }
    const bool isInside = m_pointer && m_inputArea.contains(QPoint(qFloor(m_pointer->x()), qFloor(m_pointer->y())));
    // Who drags something out of the shape is still busy with it.
    if (isInside == m_isPointerInside || (!isInside && m_hasPressedButton))
        return;
    m_isPointerInside = isInside;
    Q_EMIT pointerMoved(isInside);
}

void DynamicNotchPanel::followPointer(const QEvent &event)
{
    switch (event.type()) {
    case QEvent::Enter:
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease: {
        const auto &pointer = static_cast<const QSinglePointEvent &>(event);
        m_pointer = pointer.position();
        m_hasPressedButton = pointer.buttons() != Qt::NoButton;
        break;
    }
    case QEvent::Leave:
        m_pointer.reset();
        break;
    default:
        return;
    }
    surfaceChanged();
}

void DynamicNotchPanel::takeFocus()
{
    m_surface.setKey(true);
    if (isActive())
        return;
    m_windowBefore = m_overlays.activeWindow();
    m_overlays.takeFocus(*this);
}

} // namespace vantry
