#include "app/settings/AboutSettingsTabModel.h"

#include "platform/Updater.h"

namespace vantry {

QString AboutSettingsTabModel::version()
{
    return QStringLiteral(VANTRY_VERSION " (" VANTRY_BUILD_NUMBER ")");
}

void AboutSettingsTabModel::checkForUpdates()
{
    if (m_services.updater)
        m_services.updater->checkForUpdates();
}

void AboutSettingsTabModel::quit()
{
    m_services.quitApp();
}

} // namespace vantry
