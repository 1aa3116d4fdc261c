#include "notch/NotchScene.h"

#include "DynamicNotchKit/DynamicNotch.h"
#include "style/Appearance.h"

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// A view of the notch, by its file.
DynamicNotchView view(const QString &name, NotchViewModel &viewModel)
{
    return { .source = QUrl(u"qrc:/qt/qml/Vantry/Notch/%1.qml"_s.arg(name)),
             .properties = { { u"viewModel"_s, QVariant::fromValue(&viewModel) } } };
}

} // namespace

NotchScene::NotchScene(Surroundings surroundings)
    : m_surroundings(std::move(surroundings))
    , m_peekPanel({ m_surroundings.engine, m_surroundings.appearance, m_surroundings.overlays,
                    m_surroundings.services.scheduler })
    , m_life(std::make_shared<char>())
{}

NotchScene::~NotchScene() = default;

std::unique_ptr<NotchController> NotchScene::makeController()
{
    const NotchController::Surroundings surroundings { m_surroundings.services.sessionManager,
                                                       m_surroundings.services.sessionChanges,
                                                       m_surroundings.screens,
                                                       m_surroundings.makeFullScreenWatch,
                                                       m_surroundings.makeSessionLock,
                                                       m_surroundings.services.mainQueue,
                                                       m_surroundings.services.scheduler,
                                                       *this };
    return std::make_unique<NotchController>(surroundings, m_surroundings.callbacks, m_surroundings.makePanel);
}

std::unique_ptr<DynamicNotchControllable> NotchScene::makeNotch(const std::shared_ptr<NotchViewModel> &viewModel)
{
    const Appearance &appearance = m_surroundings.appearance;
    const DynamicNotch::Surroundings surroundings { .engine = m_surroundings.engine(),
                                                    .overlays = m_surroundings.overlays,
                                                    .clock = m_surroundings.services.clock,
                                                    .scheduler = m_surroundings.services.scheduler,
                                                    .reducedMotion = [&appearance] {
                                                        return appearance.preferences().reducedMotion;
                                                    } };
    const DynamicNotch::Contents contents { .expanded = view(u"NotchExpandedView"_s, *viewModel),
                                            .compactLeading = view(u"NotchCompactLeadingView"_s, *viewModel),
                                            .compactTrailing = view(u"NotchCompactTrailingView"_s, *viewModel),
                                            .windowProperties = { { u"vantryTheme"_s, u"notch"_s } } };
    return std::make_unique<DynamicNotch>(surroundings, contents);
}

void NotchScene::retire(std::unique_ptr<DynamicNotchControllable> notch,
                        const std::shared_ptr<NotchViewModel> &viewModel)
{
    DynamicNotchControllable *const leaving = notch.get();
    m_retired.push_back({ viewModel, std::move(notch) });
    leaving->hide([this, leaving, life = std::weak_ptr(m_life)] {
        // It is still in the call that brings this.
        m_surroundings.services.mainQueue.post([this, leaving, life] {
            if (!life.expired())
                m_retired.remove_if([leaving](const Retired &retired) { return retired.notch.get() == leaving; });
        });
    });
}

} // namespace vantry
