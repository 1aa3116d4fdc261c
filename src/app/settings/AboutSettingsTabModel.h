#pragma once

#include "app/settings/SettingsServices.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What `AboutSettingsTab` shows and does. Main thread only.
class AboutSettingsTabModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

    /// With the number of the build, as in "1.0.0 (142)".
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates CONSTANT)

public:
    explicit AboutSettingsTabModel(const SettingsServices &services, QObject *parent = nullptr)
        : QObject(parent)
        , m_services(services)
    {}

    [[nodiscard]] static QString version();
    [[nodiscard]] bool canCheckForUpdates() const { return m_services.updater != nullptr; }
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void quit();

private:
    const SettingsServices m_services;
};

} // namespace vantry
