#include "support/views/ViewWindow.h"

#include <QQmlEngine>
#include <QTest>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

QStringList *recorded = nullptr;

void record(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    fprintf(stderr, "%s\n", qUtf8Printable(message));
    if (type != QtDebugMsg && type != QtInfoMsg && recorded)
        recorded->append(message);
}

QQuickItem *findItem(QQuickItem *item, const QString &name)
{
    if (item->objectName() == name)
        return item;
    const auto children = item->childItems();
    for (auto *child : children) {
        if (auto *found = findItem(child, name))
            return found;
    }
    return nullptr;
}

} // namespace

WarningRecorder::WarningRecorder()
{
    static QStringList warnings;
    warnings.clear();
    recorded = &warnings;
    m_previous = qInstallMessageHandler(record);
}

WarningRecorder::~WarningRecorder()
{
    qInstallMessageHandler(m_previous);
    recorded = nullptr;
}

QStringList WarningRecorder::takeWarnings()
{
    return std::exchange(*recorded, {});
}

ViewWindow::ViewWindow(const QString &file, const QVariantMap &properties, const QString &theme)
{
    m_appearance.install(*m_view.engine());
    if (!theme.isEmpty())
        m_view.setProperty("vantryTheme", theme);
    m_view.setInitialProperties(properties);
    m_view.setSource(QUrl(file));
    EXPECT_EQ(m_view.status(), QQuickView::Ready) << qPrintable(file);
    m_view.show();
    m_view.requestActivate();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&m_view));
}

ViewWindow::~ViewWindow()
{
    const auto warnings = takeWarnings();
    EXPECT_TRUE(warnings.isEmpty()) << qPrintable(warnings.join(u'\n'));
}

QQuickItem *ViewWindow::item(const QString &name)
{
    auto *found = findItem(m_view.contentItem(), name);
    EXPECT_TRUE(found) << "no item is called " << qPrintable(name);
    return found;
}

QPoint ViewWindow::centerOf(const QQuickItem *item)
{
    return item->mapToScene(item->boundingRect().center()).toPoint();
}

void ViewWindow::click(const QString &name, Qt::MouseButton button)
{
    if (auto *target = item(name))
        QTest::mouseClick(&m_view, button, {}, centerOf(target));
}

void ViewWindow::hover(const QString &name)
{
    if (auto *target = item(name))
        QTest::mouseMove(&m_view, centerOf(target));
}

void ViewWindow::key(int key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&m_view, Qt::Key(key), modifiers);
}

void ViewWindow::type(const QString &text)
{
    for (const auto character : text)
        QTest::keyClick(&m_view, character.toLatin1());
}

bool ViewWindow::waitFor(const std::function<bool()> &condition)
{
    return QTest::qWaitFor(condition, 10000);
}

QImage ViewWindow::grab()
{
    QCoreApplication::processEvents();
    return m_view.grabWindow();
}

} // namespace vantry::test
