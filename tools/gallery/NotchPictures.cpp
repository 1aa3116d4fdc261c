#include "gallery/NotchPictures.h"

#include "notch/NotchPeekCardModel.h"

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

SessionFacts asking(const QString &project, const QString &tool = u"Bash"_s)
{
    return { .project = project,
             .state = SessionState::needsPermission,
             .branch = u"feat/checkout-retry"_s,
             .linesAdded = 128,
             .linesRemoved = 34,
             .contextUsed = 38,
             .tool = tool,
             .toolDetail = u"pnpm test --filter checkout -- --run"_s };
}

const SessionFacts questioning { .project = u"ledger-api"_s,
                                 .state = SessionState::hasQuestion,
                                 .branch = u"fix/eur-rounding"_s,
                                 .contextUsed = 61,
                                 .options = { u"Half-even"_s, u"Half-up"_s, u"Keep as it is"_s } };
const SessionFacts working { .project = u"photon-cli"_s, .state = SessionState::working, .branch = u"perf/lexer"_s };
const SessionFacts ready { .project = u"atlas-tiles"_s, .branch = u"main"_s, .message = u"All 214 tests pass."_s };

enum class Shows { Sides, Card, Panel };

Picture notchPicture(const QString &name, const std::vector<SessionFacts> &sessions, Shows shows,
                     const DesktopPreferences::Values &preferences = {},
                     Qt::LayoutDirection direction = Qt::LeftToRight)
{
    Picture picture { .name = name, .prepare = {}, .preferences = preferences, .direction = direction };
    picture.prepare = [sessions](PanelWorld &world) {
        for (const SessionFacts &facts : sessions)
            world.add(facts);
        world.notch().refresh();
    };
    picture.frame = [shows](PanelWorld &world, bool isDark) {
        PictureFrame frame { .file = u"NotchPictureFrame.qml"_s,
                             .properties = { { u"notch"_s, QVariant::fromValue(&world.notch()) },
                                             { u"isDark"_s, isDark },
                                             { u"isExpanded"_s, shows == Shows::Panel } },
                             .theme = u"notch"_s };
        if (shows == Shows::Card) {
            const auto card = std::make_shared<NotchPeekCardModel>(world.manager().sessions().first(),
                                                                   SessionCallbacks().heldRequestID);
            frame.properties.insert(u"card"_s, QVariant::fromValue(card.get()));
            frame.keeps = card;
        }
        world.notch().setPanelVisible(shows == Shows::Panel);
        return frame;
    };
    return picture;
}

} // namespace

void addNotchPictures(std::vector<Picture> &all)
{
    const auto add = [&all](const auto &...parts) { all.push_back(notchPicture(parts...)); };
    add(u"notch-idle"_s, std::vector { ready }, Shows::Sides);
    add(u"notch-working"_s, std::vector { working }, Shows::Sides);
    add(u"notch-permission"_s, std::vector { asking(u"a"_s), questioning, working }, Shows::Sides);
    add(u"notch-question"_s, std::vector { working, questioning }, Shows::Sides);
    std::vector<SessionFacts> hundred;
    for (int i = 0; i < 100; ++i)
        hundred.push_back(asking(u"service-%1"_s.arg(i)));
    add(u"notch-many"_s, hundred, Shows::Sides);

    const SessionFacts odd =
        asking(u"customer-data-platform-ingest-and-replay"_s, u"mcp__warehouse__run_a_query_with_a_long_name"_s);
    add(u"notch-peek-permission"_s, std::vector { asking(u"storefront-web"_s) }, Shows::Card);
    add(u"notch-peek-no-tool"_s, std::vector { asking(u"infra"_s, {}) }, Shows::Card);
    add(u"notch-peek-question"_s, std::vector { questioning }, Shows::Card);
    add(u"notch-peek-long"_s, std::vector { odd }, Shows::Card);
    add(u"notch-peek-over"_s, std::vector { working }, Shows::Card);
    add(u"notch-expanded"_s, std::vector { asking(u"storefront-web"_s), questioning, ready, working }, Shows::Panel);
    add(u"notch-expanded-empty"_s, std::vector<SessionFacts>(), Shows::Panel);

    for (const auto &[suffix, scale] : { std::pair(u"-text-130"_s, 1.3), std::pair(u"-text-200"_s, 2.0) }) {
        const DesktopPreferences::Values larger { .textScale = scale };
        add(u"notch-permission"_s + suffix, std::vector { asking(u"a"_s), questioning }, Shows::Sides, larger);
        add(u"notch-peek-permission"_s + suffix, std::vector { asking(u"storefront-web"_s) }, Shows::Card, larger);
        add(u"notch-peek-long"_s + suffix, std::vector { odd }, Shows::Card, larger);
    }
    const DesktopPreferences::Values contrast { .highContrast = true };
    add(u"notch-peek-permission-high-contrast"_s, std::vector { asking(u"storefront-web"_s) }, Shows::Card, contrast);
    add(u"notch-peek-permission-right-to-left"_s, std::vector { asking(u"storefront-web"_s) }, Shows::Card,
        DesktopPreferences::Values {}, Qt::RightToLeft);
}

} // namespace vantry::gallery
