#include "app/settings/SettingsWindow.h"

#include "app/settings/SettingsViewModel.h"
#include "style/Appearance.h"

#include <QScreen>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr QSizeF smallest(440, 480);
/// All of the first tab, with what it may have to say.
constexpr QSizeF first(440, 740);

} // namespace

SettingsWindow::SettingsWindow(QQmlEngine &engine, const Appearance &appearance, const SettingsServices &services)
    : QQuickView(&engine, nullptr)
    , m_appearance(appearance)
    , m_model(*new SettingsViewModel(services, this))
{
    setTitle(tr("Settings"));
    setResizeMode(QQuickView::SizeRootObjectToView);
    takeTextScale();
    resize(fitting(first));
    connect(&m_appearance, &Appearance::changed, this, &SettingsWindow::takeTextScale);
    setInitialProperties({ { u"model"_s, QVariant::fromValue(&m_model) } });
    setSource(QUrl(u"qrc:/qt/qml/Vantry/App/SettingsView.qml"_s));
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::takeTextScale()
{
    setMinimumSize(fitting(smallest));
    resize(size().expandedTo(minimumSize()));
}

QSize SettingsWindow::fitting(QSizeF size) const
{
    constexpr QSize frame(0, 40);
    return (size * m_appearance.preferences().textScale).toSize().boundedTo(screen()->availableSize() - frame);
}

} // namespace vantry
