#include "app/settings/SettingsWindow.h"

#include "app/settings/SettingsViewModel.h"
#include "style/Appearance.h"

#include <QScreen>

namespace vantry {

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(QQmlEngine &engine, const Appearance &appearance, const SettingsServices &services)
    : QQuickView(&engine, nullptr)
    , m_appearance(appearance)
    , m_model(*new SettingsViewModel(services, this))
{
    setTitle(tr("Settings"));
    setResizeMode(QQuickView::SizeRootObjectToView);
    takeTextScale();
    connect(&m_appearance, &Appearance::changed, this, &SettingsWindow::takeTextScale);
    setInitialProperties({ { u"model"_s, QVariant::fromValue(&m_model) } });
    setSource(QUrl(u"qrc:/qt/qml/Vantry/App/SettingsView.qml"_s));
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::takeTextScale()
{
    constexpr QSizeF smallest(440, 480);
    const QSize wanted = (smallest * m_appearance.preferences().textScale).toSize();
    setMinimumSize(wanted.boundedTo(screen()->availableSize()));
    resize(size().expandedTo(minimumSize()));
}

} // namespace vantry
