#include "gallery/PictureView.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlAbstractUrlInterceptor>
#include <QQmlEngine>
#include <QThread>

#include <deque>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

/// Breadth first, so that a row comes before what stands in it.
QQuickItem *findControl(QAccessibleInterface *root, const QString &name)
{
    QQuickItem *beginsWith = nullptr;
    std::deque<QAccessibleInterface *> waiting { root };
    while (!waiting.empty()) {
        auto *interface = waiting.front();
        waiting.pop_front();
        auto *item = qobject_cast<QQuickItem *>(interface->object());
        // What is said of a session isn't the session.
        if (interface->role() == QAccessible::Notification)
            continue;
        const QString text = interface->text(QAccessible::Name);
        if (item && item->isVisible() && text == name)
            return item;
        if (item && item->isVisible() && !beginsWith && text.startsWith(name))
            beginsWith = item;
        for (int i = 0; i < interface->childCount(); ++i)
            waiting.push_back(interface->child(i));
    }
    return beginsWith;
}

/// Finds the module's files in the source folder.
class SourceFiles final : public QQmlAbstractUrlInterceptor
{
public:
    QString folder;

    QUrl intercept(const QUrl &url, DataType type) override
    {
        static const QString prefix = u"/qt/qml/Vantry/"_s;
        if (folder.isEmpty() || type != QmlFile || url.scheme() != u"qrc" || !url.path().startsWith(prefix))
            return url;
        const QString file =
            folder + u'/' + url.path().mid(prefix.size()).toLower().section(u'/', 0, 0) + u'/' + url.fileName();
        return QFile::exists(file) ? QUrl::fromLocalFile(file) : url;
    }
};

SourceFiles sourceFiles;

QPointF centerOf(const QQuickItem *item)
{
    return item->mapToScene(item->boundingRect().center());
}

} // namespace

void PictureView::readQmlFrom(const QString &sourceFolder)
{
    sourceFiles.folder = QDir(sourceFolder).absolutePath();
}

PictureView::PictureView(PanelWorld &world, const DesktopPreferences::Values &preferences)
    : PictureView(
          world, preferences,
          { .file = u"PictureFrame.qml"_s, .properties = { { u"panel"_s, QVariant::fromValue(&world.panel()) } } })
{}

PictureView::PictureView(PanelWorld &world, const DesktopPreferences::Values &preferences, const PictureFrame &frame)
    : m_world(world)
    , m_keeps(frame.keeps)
{
    m_preferences.set(preferences);
    m_appearance.install(*m_view.engine());
    m_view.engine()->addUrlInterceptor(&sourceFiles);
    m_world.panel().setVisible(true);
    m_world.settle();
    if (!frame.theme.isEmpty())
        m_view.setProperty("vantryTheme", frame.theme);
    m_view.setInitialProperties(frame.properties);
    m_view.setSource(QUrl(u"qrc:/gallery/"_s + frame.file));
    m_view.show();
    m_view.requestActivate();
    settle();
}

QQuickItem *PictureView::control(const QString &name)
{
    QAccessible::setActive(true);
    return findControl(QAccessible::queryAccessibleInterface(&m_view), name);
}

void PictureView::hover(const QString &name)
{
    if (auto *item = control(name)) {
        QMouseEvent event(QEvent::MouseMove, centerOf(item), centerOf(item), Qt::NoButton, Qt::NoButton, {});
        QCoreApplication::sendEvent(&m_view, &event);
    }
    settle();
}

void PictureView::click(const QString &name, Qt::MouseButton button)
{
    if (auto *item = control(name)) {
        const QPointF at = centerOf(item);
        QMouseEvent press(QEvent::MouseButtonPress, at, at, button, button, {});
        QCoreApplication::sendEvent(&m_view, &press);
        QMouseEvent release(QEvent::MouseButtonRelease, at, at, button, Qt::NoButton, {});
        QCoreApplication::sendEvent(&m_view, &release);
    }
    settle();
}

void PictureView::focus(const QString &name)
{
    if (auto *item = control(name))
        item->forceActiveFocus(Qt::TabFocusReason);
    settle();
}

void PictureView::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QKeyEvent press(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(&m_view, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers);
    QCoreApplication::sendEvent(&m_view, &release);
    settle();
}

void PictureView::type(const QString &text)
{
    for (const QChar character : text) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, character);
        QCoreApplication::sendEvent(&m_view, &press);
    }
    settle();
}

void PictureView::settle()
{
    m_world.settle();
    // Longer than the longest movement.
    constexpr int rounds = 30;
    for (int i = 0; i < rounds; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    m_world.settle();
    QCoreApplication::processEvents();
}

QImage PictureView::grab()
{
    return m_view.grabWindow();
}

} // namespace vantry::gallery
