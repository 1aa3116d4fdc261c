#include "gallery/Pictures.h"

#include "gallery/ChatPictures.h"
#include "gallery/NotchPictures.h"
#include "gallery/NotchSurfacePictures.h"
#include "gallery/OnboardingPictures.h"
#include "gallery/SettingsPictures.h"
#include "sessions/GitRepositories.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

const SessionFacts storefront { .project = u"storefront-web"_s,
                                .state = SessionState::needsPermission,
                                .branch = u"feat/checkout-retry"_s,
                                .linesAdded = 128,
                                .linesRemoved = 34,
                                .contextUsed = 38,
                                .tool = u"Bash"_s,
                                .toolDetail = u"pnpm test --filter checkout -- --run --reporter dot"_s };
const SessionFacts ledger { .project = u"ledger-api"_s,
                            .state = SessionState::hasQuestion,
                            .branch = u"fix/eur-rounding"_s,
                            .linesAdded = 12,
                            .linesRemoved = 7,
                            .contextUsed = 61,
                            .minutesAgo = 2,
                            .options = { u"Half-even"_s, u"Half-up"_s, u"Keep as it is"_s } };
const SessionFacts atlas { .project = u"atlas-tiles"_s,
                           .branch = u"main"_s,
                           .contextUsed = 22,
                           .message = u"Tile cache now evicts by age; all 214 tests pass."_s,
                           .minutesAgo = 4 };
const SessionFacts photon { .project = u"photon-cli"_s,
                            .state = SessionState::working,
                            .branch = u"perf/lexer"_s,
                            .linesAdded = 310,
                            .linesRemoved = 96,
                            .contextUsed = 55,
                            .message = u"Benchmarking the new lexer against main"_s };
const SessionFacts infra { .project = u"infra"_s,
                           .branch = u"chore/eks-1.31"_s,
                           .linesAdded = 41,
                           .linesRemoved = 3,
                           .contextUsed = 48,
                           .message = u"Plan: 3 to add, 1 to change, 0 to destroy."_s,
                           .minutesAgo = 18 };
const SessionFacts customer { .project = u"customer-data-platform-ingest-and-replay"_s,
                              .branch = u"feat/CDP-2210-hourly-backfill-with-checkpoints"_s,
                              .linesAdded = 1204,
                              .linesRemoved = 388,
                              .contextUsed = 93,
                              .message =
                                  u"I split the backfill into 24 hourly jobs so that a failed hour can be run again."_s,
                              .minutesAgo = 75 };
const SessionFacts docsSite { .project = u"docs-site"_s, .state = SessionState::launching };

void addFour(PanelWorld &world)
{
    world.add(storefront);
    world.add(ledger);
    world.add(atlas);
    world.add(photon);
}

/// What a text can be that no designer thinks of.
void addOddNames(PanelWorld &world)
{
    SessionFacts odd = storefront;
    odd.project = u"<b>bold<b> & \u202Eright\u202C 日本語のとても長い名前です"_s;
    odd.branch = QString(500, u'x');
    odd.linesAdded = 123456;
    odd.linesRemoved = 99999;
    odd.tool = u"mcp__a-server-with-a-long-name__and_a_tool_with_a_long_name"_s;
    odd.toolDetail = QString(3000, u'w');
    world.add(odd, u"odd"_s);
    SessionFacts options = ledger;
    options.options = { u"Migrate in place with a lock"_s,
                        u"Write to a shadow table, swap later and keep the old one for a week"_s, u"Ask me again"_s };
    world.add(options);
    world.add(customer);
    world.add({ .project = {}, .state = SessionState::working }, u"7f3a91c2-77aa-4e1f-9f0e-2f8f3f1f0a11"_s);
}

void addThirty(PanelWorld &world)
{
    world.add(storefront);
    world.add(ledger);
    world.add(atlas);
    world.add(infra);
    world.add(customer);
    world.add({ .project = u"kestrel"_s, .contextUsed = 4, .message = u"Ready to start."_s, .minutesAgo = 130 });
    for (int i = 0; i < 7; ++i)
        world.add({ .project = u"service-%1"_s.arg(i), .branch = u"main"_s, .contextUsed = 10 * i, .minutesAgo = 200 });
    world.add(photon);
    world.add(docsSite);
    for (int i = 0; i < 15; ++i) {
        world.add({ .project = u"release-notes-%1"_s.arg(i),
                    .state = SessionState::working,
                    .branch = u"main"_s,
                    .contextUsed = 6 * i,
                    .message = u"Collecting merged changes since v2.8.%1"_s.arg(i) });
    }
}

void addRemembered(PanelWorld &world)
{
    auto add = [&world, number = 0](const QString &project, const QString &branch, int minutes,
                                    const QString &snippet) mutable {
        world.addRemembered({ .project = project, .branch = branch, .minutesAgo = minutes },
                            u"remembered-%1"_s.arg(number++), snippet);
    };
    constexpr int day = 24 * 60;
    add(u"storefront-web"_s, u"feat/checkout-retry"_s, 0,
        u"Retry the payment call with back-off and keep the checkout form as it was"_s);
    add(u"storefront-web"_s, u"feat/checkout-address"_s, 2 * day,
        u"Split the checkout address form into three fields"_s);
    add(u"ledger-api"_s, u"fix/refund-idempotency"_s, 5 * day, u"Make the refund after checkout idempotent"_s);
    add(u"design-tokens"_s, u"main"_s, 9 * day, u"Rename checkout colour tokens, update the snapshots and the docs"_s);
    add(u"storefront-e2e"_s, u"ci/flaky-checkout"_s, 12 * day,
        u"Find out why checkout.spec.ts fails one time in ten"_s);
    add(u"storefront-web"_s, u"main"_s, 31 * day, u"Explain how the checkout totals are rounded"_s);
}

void addProjects(PanelWorld &world)
{
    world.addProject(u"storefront-web"_s, 0,
                     { u"Retry the payment call with back-off and keep the form"_s,
                       u"Split the checkout address form into three fields"_s,
                       u"Explain how the checkout totals are rounded in the cart"_s,
                       u"Upgrade to React 19 and fix the type errors it brings"_s });
    world.addProject(u"ledger-api"_s, 2);
    world.addProject(u"atlas-tiles"_s, 4);
    world.addProject(u"infra"_s, 18);
    world.addProject(u"photon-cli"_s, 75);
    world.addProject(u"customer-data-platform-ingest-and-replay"_s, 190);
    world.addProject(u"docs-site"_s, 24 * 60);
    world.addProject(u"release-notes"_s, 2 * 24 * 60);
    world.addProject(u"design-tokens"_s, 9 * 24 * 60);
}

void openPicker(PanelWorld &world)
{
    world.panel().openSessionBrowser(false);
    world.panel().browser()->open(0);
    world.settle();
}

void openFirstProject(PanelWorld &world)
{
    addProjects(world);
    openPicker(world);
    world.panel().picker()->open(0);
}

void search(PanelWorld &world, const QString &text)
{
    world.panel().openSessionBrowser(true);
    world.settle();
    world.panel().browser()->setSearchText(text);
    world.settleAfter(Seconds(0.1));
}

/// The resume dialog of a session on "feat/checkout-retry", before its branch has been checked.
void openDialog(PanelWorld &world)
{
    world.addRemembered({ .project = u"shop/storefront-web"_s, .branch = u"feat/checkout-retry"_s }, u"remembered"_s,
                        u"Retry the payment call"_s);
    world.panel().setVisible(true);
    world.panel().openSessionBrowser(false);
    world.settle();
    world.panel().browser()->open(1);
}

/// The session's repository, with its branch, and "main" checked out.
QString makeRepository(PanelWorld &world)
{
    const QString path = world.projectPath(u"shop/storefront-web"_s);
    QDir().mkpath(path);
    test::makeRepositoryIn(path);
    test::gitIn(path, "checkout -q -b feat/checkout-retry");
    test::writeFile(path + u"/new"_s, "two\n");
    test::gitIn(path, "add new");
    test::gitIn(path, "commit -q -m second");
    test::gitIn(path, "checkout -q main");
    return path;
}

void openCheckedDialog(PanelWorld &world)
{
    openDialog(world);
    world.settle();
}

void addSessionPictures(std::vector<Picture> &all)
{
    all.push_back({ u"session-list"_s, addFour });
    all.push_back({ u"session-list-empty"_s, [](PanelWorld &) {} });
    all.push_back({ u"session-list-many"_s, addThirty, [](PictureView &view) {
                       // Down to the fourth of those that are ready.
                       for (int i = 0; i < 9; ++i)
                           view.key(Qt::Key_Down);
                   } });
    all.push_back({ u"session-list-odd-names"_s, addOddNames });
    all.push_back({ u"session-row-permission-once"_s, [](PanelWorld &world) {
                       SessionFacts facts = storefront;
                       facts.tool = u"Edit"_s;
                       facts.toolDetail = u"src/cart/totals.ts"_s;
                       facts.suggestsRule = false;
                       world.add(facts);
                   } });
    all.push_back({ u"session-row-allowed"_s, addFour, [](PictureView &view) { view.click(u"Allow"_s); } });
    all.push_back({ u"session-row-answered"_s, [](PanelWorld &world) {
                       SessionFacts facts = storefront;
                       facts.message = u"Running the checkout tests"_s;
                       const auto session = world.add(facts);
                       session->setState(SessionState::working);
                   } });
    all.push_back({ u"session-row-view-only"_s, [](PanelWorld &world) {
                       world.sessionsWithoutAnswer.insert(ledger.project);
                       world.add(ledger);
                       world.add(docsSite);
                   } });
    all.push_back({ u"session-row-hover"_s, [](PanelWorld &world) { world.add(infra); },
                    [](PictureView &view) { view.hover(u"infra"_s); } });
    all.push_back({ u"session-row-focus"_s, [](PanelWorld &world) { world.add(infra); },
                    [](PictureView &view) { view.focus(u"infra"_s); } });
    all.push_back({ u"session-row-menu"_s, [](PanelWorld &world) { world.add(infra); },
                    [](PictureView &view) { view.click(u"infra"_s, Qt::RightButton); } });
}

void addBrowserPictures(std::vector<Picture> &all)
{
    all.push_back({ u"session-browser"_s,
                    [](PanelWorld &world) {
                        addRemembered(world);
                        search(world, u"checkout"_s);
                    },
                    [](PictureView &view) {
                        for (int i = 0; i < 3; ++i)
                            view.key(Qt::Key_Down);
                    } });
    all.push_back({ u"session-browser-recent"_s, [](PanelWorld &world) {
                       addRemembered(world);
                       world.panel().openSessionBrowser(false);
                   } });
    all.push_back({ u"session-browser-no-match"_s, [](PanelWorld &world) {
                       addRemembered(world);
                       search(world, u"kubernetes operator"_s);
                   } });
    all.push_back({ u"new-session-picker"_s, [](PanelWorld &world) {
                       addProjects(world);
                       openPicker(world);
                   } });
    all.push_back({ u"new-session-picker-no-match"_s, [](PanelWorld &world) {
                       addProjects(world);
                       openPicker(world);
                       world.panel().picker()->setSearchText(u"gradle"_s);
                   } });
    all.push_back({ u"new-session-picker-empty"_s, openPicker });
    all.push_back({ u"project-detail"_s, openFirstProject });
    all.push_back({ u"project-detail-modes"_s, [](PanelWorld &world) {
                       openFirstProject(world);
                       world.panel().projectDetail()->setModesExpanded(true);
                   } });
}

void addDialogPictures(std::vector<Picture> &all)
{
    all.push_back({ u"resume-dialog-no-git"_s, openCheckedDialog });
    all.push_back({ u"resume-dialog-same-branch"_s, [](PanelWorld &world) {
                       test::gitIn(makeRepository(world), "checkout -q feat/checkout-retry");
                       openCheckedDialog(world);
                   } });
    all.push_back({ u"resume-dialog-mismatch"_s, [](PanelWorld &world) {
                       makeRepository(world);
                       openCheckedDialog(world);
                   } });
    all.push_back({ u"resume-dialog-switch-failed"_s, [](PanelWorld &world) {
                       test::writeFile(makeRepository(world) + u"/.git/index.lock"_s, "");
                       openCheckedDialog(world);
                       world.panel().resumeDialog()->switchBranch();
                   } });
    all.push_back({ u"resume-dialog-uncommitted"_s, [](PanelWorld &world) {
                       test::writeFile(makeRepository(world) + u"/file"_s, "changed\n");
                       openCheckedDialog(world);
                   } });
    all.push_back({ u"resume-dialog-deleted"_s, [](PanelWorld &world) {
                       test::gitIn(makeRepository(world), "branch -q -D feat/checkout-retry");
                       openCheckedDialog(world);
                   } });
}

/// The same again for those who see or read in another way.
void addVariants(std::vector<Picture> &all)
{
    const auto addVariant = [&all](const QString &base, const QString &suffix) -> Picture & {
        Picture picture = *std::ranges::find(all, base, &Picture::name);
        picture.name = base + suffix;
        return all.emplace_back(std::move(picture));
    };
    for (const QString &base : { u"session-list"_s, u"chat-permission"_s })
        addVariant(base, u"-high-contrast"_s).preferences.highContrast = true;
    for (const auto &[suffix, scale] : { std::pair(u"-text-130"_s, 1.3), std::pair(u"-text-200"_s, 2.0) }) {
        for (const QString &base : { u"session-list"_s, u"session-list-odd-names"_s, u"session-browser"_s,
                                     u"resume-dialog-mismatch"_s, u"project-detail-modes"_s, u"chat-working"_s,
                                     u"chat-permission"_s, u"chat-question"_s, u"chat-info"_s, u"chat-stop"_s })
            addVariant(base, suffix).preferences.textScale = scale;
    }
    for (const QString &base :
         { u"session-list"_s, u"session-list-odd-names"_s, u"session-browser"_s, u"new-session-picker"_s,
           u"project-detail-modes"_s, u"resume-dialog-mismatch"_s, u"chat-working"_s, u"chat-permission"_s,
           u"chat-question"_s, u"chat-info"_s, u"chat-stop"_s, u"chat-odd-texts"_s })
        addVariant(base, u"-right-to-left"_s).direction = Qt::RightToLeft;
}

} // namespace

const std::vector<Picture> &pictures()
{
    static const std::vector<Picture> all = [] {
        std::vector<Picture> list;
        addSessionPictures(list);
        addBrowserPictures(list);
        addDialogPictures(list);
        addChatPictures(list);
        addNotchPictures(list);
        addNotchSurfacePictures(list);
        addOnboardingPictures(list);
        addSettingsPictures(list);
        addVariants(list);
        return list;
    }();
    return all;
}

} // namespace vantry::gallery
