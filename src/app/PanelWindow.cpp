#include "app/PanelWindow.h"

#include "panels/MenuBarViewModel.h"
#include "style/Appearance.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Enough for the shadow of the design's elevation "panel".
constexpr int roomForShadow = 40;
/// The largest that the toolkit knows.
constexpr QSize anySize((1 << 24) - 1, (1 << 24) - 1);

QList<ScreenArea> screens(const OverlayWindows &overlays)
{
    QList<ScreenArea> areas;
    const auto all = QGuiApplication::screens(); // The primary one is the first.
    for (const QScreen *screen : all)
        areas.append({ screen->geometry(), overlays.availableArea(*screen) });
    return areas;
}

} // namespace

/// Tells of what the views leave to the window.
class PanelWindow::View final : public QQuickView
{
public:
    using QQuickView::QQuickView;

    std::function<void()> onEscape;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        event->ignore();
        QQuickView::keyPressEvent(event);
        if (!event->isAccepted() && event->key() == Qt::Key_Escape && onEscape)
            onEscape();
    }
};

PanelWindow::PanelWindow(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_view(std::make_unique<View>(&surroundings.engine, nullptr))
{
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setColor(Qt::transparent);
    m_view->setTitle(u"Vantry"_s);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->onEscape = [this] { m_surroundings.model.back(); };
    m_view->setInitialProperties(
        { { u"model"_s, QVariant::fromValue(&m_surroundings.model) }, { u"window"_s, QVariant::fromValue(this) } });
    m_view->setSource(QUrl(u"qrc:/qt/qml/Vantry/App/PanelFrame.qml"_s));

    connect(m_view.get(), &QWindow::activeChanged, this, &PanelWindow::activeChanged);
    connect(m_view.get(), &QWindow::visibleChanged, this, &PanelWindow::visibleChanged);
    connect(&m_surroundings.model, &MenuBarViewModel::closeRequested, this, [this] { close(Closing::ByUser); });
    connect(&m_surroundings.model, &MenuBarViewModel::panelSizeChanged, this, &PanelWindow::fitToPanel);
    connect(&m_surroundings.appearance, &Appearance::changed, this, &PanelWindow::fitToPanel);
}

PanelWindow::~PanelWindow()
{
    close(Closing::LostFocus);
    m_view->disconnect(this);
}

void PanelWindow::open(Form form, const PanelAnchor &anchor)
{
    if (isOpen()) {
        m_view->raise();
        m_surroundings.overlays.takeFocus(*m_view);
        return;
    }
    m_windowBefore = m_surroundings.overlays.activeWindow();
    takeForm(form);
    if (isPopover())
        setPanelGeometry(placePanel(panelSize(), anchor, screens(m_surroundings.overlays)));
    else
        fitToPanel();
    m_surroundings.model.setVisible(true);
    m_view->show();
    m_surroundings.overlays.takeFocus(*m_view);
}

void PanelWindow::close(Closing closing)
{
    const bool hadFocus = m_isKey;
    m_view->hide();
    if (closing == Closing::ByUser && hadFocus && m_windowBefore)
        m_surroundings.overlays.giveFocus(*m_windowBefore);
    m_windowBefore.reset();
}

bool PanelWindow::isOpen() const
{
    return m_view->isVisible();
}

bool PanelWindow::isKey() const
{
    return m_isKey;
}

QQuickView &PanelWindow::view()
{
    return *m_view;
}

void PanelWindow::takeForm(Form form)
{
    const bool isSame = m_view->handle() && form == m_form;
    const bool isPopover = form == Form::Popover;
    m_form = form;
    m_shadowMargin = isPopover && m_surroundings.overlays.hasCompositor() ? roomForShadow : 0;
    if (!isSame) {
        // What kind of window it is, is told when it is made.
        m_view->destroy();
        m_view->setFlags(isPopover ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                         Qt::NoDropShadowWindowHint
                                   : Qt::Window);
        if (isPopover) {
            m_view->setMinimumSize({});
            m_view->setMaximumSize(anySize);
        }
        m_view->create();
    }
    if (isPopover)
        m_surroundings.overlays.setUpOverlay(*m_view);
    Q_EMIT formChanged();
}

void PanelWindow::activeChanged()
{
    const bool isKey = m_view->isActive() && isOpen();
    if (isKey == m_isKey)
        return;
    m_isKey = isKey;
    Q_EMIT keyChanged(isKey);
    if (!isKey && isOpen() && isPopover()) {
        close(Closing::LostFocus);
        Q_EMIT lostFocus();
    }
}

void PanelWindow::visibleChanged(bool visible)
{
    if (visible)
        return;
    m_surroundings.model.setVisible(false);
    if (std::exchange(m_isKey, false))
        Q_EMIT keyChanged(false);
}

void PanelWindow::fitToPanel()
{
    const QSize size = panelSize();
    if (!isPopover()) {
        const QList<ScreenArea> areas = screens(m_surroundings.overlays);
        const QSize fitting = areas.isEmpty() ? size : size.boundedTo(areas.first().available.size());
        m_view->setMinimumSize(fitting);
        m_view->setMaximumSize(fitting);
        m_view->resize(fitting);
    } else if (isOpen()) {
        const int margin = m_shadowMargin;
        const QRect panel = m_view->geometry().adjusted(margin, margin, -margin, -margin);
        setPanelGeometry(resizePanel(panel, size, screens(m_surroundings.overlays)));
    }
}

void PanelWindow::setPanelGeometry(const QRect &panel)
{
    const int margin = m_shadowMargin;
    m_view->setGeometry(panel.adjusted(-margin, -margin, margin, margin));
    m_surroundings.overlays.setInputArea(*m_view, QRect(QPoint(margin, margin), panel.size()));
}

QSize PanelWindow::panelSize() const
{
    const double scale = m_surroundings.appearance.preferences().textScale;
    return QSizeF(m_surroundings.model.panelWidth() * scale, m_surroundings.model.panelHeight() * scale).toSize();
}

} // namespace vantry
