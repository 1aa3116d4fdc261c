#include "app/settings/DebugSettingsTabModel.h"

#include "base/Defaults.h"
#include "platform/FileManager.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

const QString onboardingKey = u"hasCompletedOnboarding"_s;

} // namespace

DebugSettingsTabModel::DebugSettingsTabModel(const SettingsServices &services, QObject *parent)
    : QObject(parent)
    , m_services(services)
{
    connect(&m_services.defaults, &Defaults::changed, this, &DebugSettingsTabModel::defaultsChanged);
}

bool DebugSettingsTabModel::hasCompletedOnboarding() const
{
    return m_services.defaults.boolean(onboardingKey, false);
}

void DebugSettingsTabModel::resetOnboarding()
{
    m_services.defaults.setBoolean(onboardingKey, false);
    m_showResetConfirmation = true;
    Q_EMIT changed();
}

void DebugSettingsTabModel::defaultsChanged()
{
    m_showResetConfirmation = m_showResetConfirmation && !hasCompletedOnboarding();
    Q_EMIT changed();
}

QString DebugSettingsTabModel::debugLogPath() const
{
    const QString path = m_services.paths.debugLog();
    return path.startsWith(m_services.paths.home + u'/') ? u'~' + path.mid(m_services.paths.home.size()) : path;
}

QString DebugSettingsTabModel::revealLabel() const
{
    return m_services.fileManager.revealLabel();
}

void DebugSettingsTabModel::revealDebugLog()
{
    m_services.fileManager.reveal(m_services.paths.debugLog());
}

} // namespace vantry
