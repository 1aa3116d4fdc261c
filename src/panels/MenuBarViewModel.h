#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What the panel shows, and what can be done in it. Main thread only.
class MenuBarViewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

public:
    explicit MenuBarViewModel(QObject *parent = nullptr);
};

} // namespace vantry
