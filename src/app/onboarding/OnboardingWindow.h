#pragma once

#include <QQuickView>

namespace vantry {

class Appearance;
class OnboardingViewModel;

/// The set-up's window, of a fixed size but for the desktop's text scale and for screens that are smaller. Main thread
/// only.
class OnboardingWindow final : public QQuickView
{
    Q_OBJECT

public:
    /// All of these must outlive this.
    OnboardingWindow(QQmlEngine &engine, const Appearance &appearance, OnboardingViewModel &viewModel);

private:
    void takeTextScale();

    const Appearance &m_appearance;
};

} // namespace vantry
