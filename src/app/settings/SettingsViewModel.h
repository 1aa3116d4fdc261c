#pragma once

#include "app/settings/AboutSettingsTabModel.h"
#include "app/settings/DebugSettingsTabModel.h"
#include "app/settings/GeneralSettingsTabModel.h"
#include "app/settings/TelegramSettingsTabModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What `SettingsView` shows, by its tabs. Lives as long as the settings' window. Main thread only.
class SettingsViewModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

    Q_PROPERTY(vantry::GeneralSettingsTabModel *general READ general CONSTANT)
    Q_PROPERTY(vantry::TelegramSettingsTabModel *telegram READ telegram CONSTANT)
    Q_PROPERTY(vantry::AboutSettingsTabModel *about READ about CONSTANT)
    Q_PROPERTY(vantry::DebugSettingsTabModel *debug READ debug CONSTANT)

public:
    explicit SettingsViewModel(const SettingsServices &services, QObject *parent = nullptr)
        : QObject(parent)
        , m_general(services)
        , m_telegram(services.telegramService)
        , m_about(services)
        , m_debug(services)
    {}

    [[nodiscard]] GeneralSettingsTabModel *general() { return &m_general; }
    [[nodiscard]] TelegramSettingsTabModel *telegram() { return &m_telegram; }
    [[nodiscard]] AboutSettingsTabModel *about() { return &m_about; }
    [[nodiscard]] DebugSettingsTabModel *debug() { return &m_debug; }

private:
    GeneralSettingsTabModel m_general;
    TelegramSettingsTabModel m_telegram;
    AboutSettingsTabModel m_about;
    DebugSettingsTabModel m_debug;
};

} // namespace vantry
