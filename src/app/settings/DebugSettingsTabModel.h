#pragma once

#include "app/settings/SettingsServices.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What `DebugSettingsTab` shows and does. Main thread only.
class DebugSettingsTabModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

    Q_PROPERTY(bool hasCompletedOnboarding READ hasCompletedOnboarding NOTIFY changed)
    Q_PROPERTY(bool showResetConfirmation READ showResetConfirmation NOTIFY changed)
    /// For the user: with "~" for the home directory.
    Q_PROPERTY(QString debugLogPath READ debugLogPath CONSTANT)
    Q_PROPERTY(QString revealLabel READ revealLabel CONSTANT)

public:
    explicit DebugSettingsTabModel(const SettingsServices &services, QObject *parent = nullptr);

    [[nodiscard]] bool hasCompletedOnboarding() const;
    /// Whether it has been reset here, and not completed since.
    [[nodiscard]] bool showResetConfirmation() const { return m_showResetConfirmation; }
    /// Has the next start show the setup again.
    Q_INVOKABLE void resetOnboarding();

    [[nodiscard]] QString debugLogPath() const;
    [[nodiscard]] QString revealLabel() const;
    Q_INVOKABLE void revealDebugLog();

Q_SIGNALS:
    void changed();

private:
    void defaultsChanged();

    const SettingsServices m_services;
    bool m_showResetConfirmation { false };
};

} // namespace vantry
