#include "app/onboarding/OnboardingWindow.h"

#include "app/onboarding/OnboardingViewModel.h"
#include "style/Appearance.h"

#include <QScreen>

namespace vantry {

using namespace Qt::StringLiterals;

OnboardingWindow::OnboardingWindow(QQmlEngine &engine, const Appearance &appearance, OnboardingViewModel &viewModel)
    : QQuickView(&engine, nullptr)
    , m_appearance(appearance)
{
    setTitle(tr("Vantry Setup"));
    setResizeMode(QQuickView::SizeRootObjectToView);
    takeTextScale();
    connect(&m_appearance, &Appearance::changed, this, &OnboardingWindow::takeTextScale);
    setInitialProperties({ { u"viewModel"_s, QVariant::fromValue(&viewModel) } });
    setSource(QUrl(u"qrc:/qt/qml/Vantry/App/OnboardingFrame.qml"_s));
}

void OnboardingWindow::takeTextScale()
{
    constexpr QSizeF size(520, 460);
    const QSize wanted = (size * m_appearance.preferences().textScale).toSize();
    const QSize fitting = wanted.boundedTo(screen()->availableSize());
    setMinimumSize(fitting);
    setMaximumSize(fitting);
    resize(fitting);
}

} // namespace vantry
