#include <QGuiApplication>
#include <QQuickWindow>

#include <gtest/gtest.h>

/// Items need an application with windows; they are drawn into memory.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
