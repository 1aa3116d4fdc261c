#pragma once

#include "app/settings/SettingsServices.h"

#include <QQuickView>

namespace vantry {

class Appearance;
class SettingsViewModel;

/// The window of the settings, not shown yet. It grows with the desktop's text, as far as the screen allows. Main
/// thread only.
class SettingsWindow final : public QQuickView
{
    Q_OBJECT

public:
    /// Engine and appearance must outlive this.
    SettingsWindow(QQmlEngine &engine, const Appearance &appearance, const SettingsServices &services);
    ~SettingsWindow() override;

    [[nodiscard]] SettingsViewModel &model() { return m_model; }

private:
    void takeTextScale();
    /// The size in the desktop's text scale, as far as the screen allows.
    [[nodiscard]] QSize fitting(QSizeF size) const;

    const Appearance &m_appearance;
    SettingsViewModel &m_model; ///< A child: it goes after the views.
};

} // namespace vantry
