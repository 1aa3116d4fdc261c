#include "gallery/ChatPictures.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

using nlohmann::json;

QByteArray line(const char *type, const json &content)
{
    const json entry { { "type", type }, { "message", { { "content", content } } } };
    return QByteArray::fromStdString(entry.dump()) + '\n';
}

/// A line of a transcript with a text of the user's.
QByteArray asked(const char *text)
{
    return line("user", text);
}

/// One with a text of the agent's.
QByteArray said(const char *text)
{
    return line("assistant", json::array({ { { "type", "text" }, { "text", text } } }));
}

/// One with a call of a tool.
QByteArray called(const char *tool, const json &input)
{
    return line("assistant", json::array({ { { "type", "tool_use" }, { "name", tool }, { "input", input } } }));
}

const SessionFacts photon {
    .project = u"photon-cli"_s,
    .state = SessionState::working,
    .contextUsed = 55,
    .transcript =
        asked("Does the new lexer keep the spans of comments?") +
        said("Yes: a comment is a token like any other, and `Token::span` covers it in full.") +
        asked("The lexer copies every token. Make it hand out slices and show me the benchmark.") +
        called("Read", { { "file_path", "/src/lex/lexer.rs" } }) + called("Grep", { { "pattern", "fn next_token" } }) +
        said("The copy happens in `push_token`. Tokens can borrow from the source, so I changed the buffer to "
             "**slices**:\n```rust\npub struct Token<'src> {\n    kind: TokenKind,\n    text: &'src str,   // "
             "was: String, one allocation for each token\n}\n```") +
        called("Edit", { { "file_path", "/src/lex/lexer.rs" } }) +
        called("Bash", { { "command", "cargo bench --bench lexer -- --save-baseline slices --noplot" } })
};
const SessionFacts storefront {
    .project = u"storefront-web"_s,
    .state = SessionState::needsPermission,
    .contextUsed = 38,
    .tool = u"Bash"_s,
    .toolDetail = u"pnpm test --filter checkout -- --run --reporter=dot"_s,
    .transcript = asked("Retry the payment call with back-off, keep the cart while it waits.") +
                  said("The retry is in place: three tries, 200 ms to 1.6 s apart. I would like to run the checkout "
                       "tests before I touch the cart.") +
                  called("Edit", { { "file_path", "/checkout/payment.ts" } })
};
const SessionFacts ledger {
    .project = u"ledger-api"_s,
    .state = SessionState::hasQuestion,
    .contextUsed = 61,
    .options = { u"Half-even"_s, u"Half-up"_s, u"Keep as it is"_s, u"Round per line, then sum"_s },
    .transcript =
        asked("Invoices in EUR are sometimes a cent off. Find out why.") +
        called("Grep", { { "pattern", "Math.round" } }) + called("Read", { { "file_path", "/money/round.ts" } }) +
        said("Line totals are rounded half-up, the invoice total half-even, so the two drift apart on .005.")
};
const SessionFacts infra {
    .project = u"infra"_s,
    .state = SessionState::working,
    .contextUsed = 86,
    .transcript =
        asked("Upgrade the staging cluster to 1.31.\nNode groups one at a time.\nCheck these add-ons first:\n"
              "- vpc-cni\n- coredns\n- kube-proxy\n- ebs-csi-driver\n- metrics-server\n- "
              "cluster-autoscaler\nDo not touch production.\nStop and ask if a plan destroys anything.") +
        said("Only `cluster-autoscaler` needs an update first. Plan: **3 to add**, 1 to change, 0 to destroy.")
};
const SessionFacts atlas {
    .project = u"atlas-tiles"_s,
    .contextUsed = 22,
    .transcript = asked("Evict tiles by age, not by count.") +
                  called("Task", { { "description", "Find every reader of the tile cache" } }) +
                  called("Glob", { { "pattern", "src/cache/**/*.ts" } }) +
                  called("Write", { { "file_path", "/cache/age-evictor.ts" } }) +
                  called("WebFetch", { { "query", "Notes on cache eviction by age" } }) +
                  called("TodoWrite", json::object()) + called("/compact", json::object()) +
                  called("mcp__tile-server-with-a-long-name__purge_every_tile_of_a_layer", json::object()) +
                  said("Done. The cache now drops what has not been read for 20 minutes; all 214 tests pass.")
};
const SessionFacts markdown {
    .project = u"docs-site"_s,
    .contextUsed = 12,
    .transcript =
        asked("What is left before the release? See `RELEASING.md` and https://example.org/milestones/28?view=all") +
        said("Three things are **open**:\n\n1. *Changelog*: the section of `2.8.0` is empty\n2. The checksums, see "
             "[the release guide](https://example.org/guide)\n3. A mail to docs@example.org\n\n- [x] tests\n- [ ] "
             "tag\n\n"
             "```json\n{\n  \"version\": \"2.8.0\"\n}\n```\nWithout a language:\n```\n$ git tag -s v2.8.0\n```")
};
const SessionFacts odd {
    .project = u"<b>bold<b> & a project with a long name"_s,
    .state = SessionState::needsPermission,
    .contextUsed = 97,
    .tool = u"mcp__a-server-with-a-long-name__and_a_tool_with_a_long_name"_s,
    .toolDetail = QString(700, u'w'),
    .transcript = asked("<img src=x> <b>not bold</b> &amp; שלום עולם, مرحبا بالعالم "
                        "👩‍👩‍👧‍👦") +
                  said("Pneumonoultramicroscopicsilicovolcanoconiosis/llanfairpwllgwyngyllgogerychwyrndrobwllllantysil"
                       "iogogoch stands in one word.\n\nשלום, זו הודעה מימין לשמאל עם `code` בפנים.")
};

HookEvent::Question question(const QString &text, const QStringList &options, bool multiSelect)
{
    HookEvent::Question made { text, std::nullopt, std::vector<HookEvent::QuestionOption>(), multiSelect };
    for (const QString &option : options)
        made.options->push_back({ option, std::nullopt });
    return made;
}

void openChat(PanelWorld &world, const SessionFacts &facts)
{
    const SessionPtr session = world.add(facts, u"7f3a91c2-5d0e-4b1a-9c47-2e6f80d1a3b5"_s);
    session->setLastPrompt(u"Retry the payment call with back-off, keep the cart while it waits."_s);
    world.panel().openChat(session->id());
    world.settle();
}

/// A picture of the chat of a session.
Picture chatOf(const QString &name, const SessionFacts &facts, const std::function<void(PictureView &)> &act = {})
{
    return { name, [&facts](PanelWorld &world) { openChat(world, facts); }, act };
}

/// One of a session that differs from these facts.
template <typename Change>
Picture chatLike(const QString &name, SessionFacts facts, Change change,
                 const std::function<void(PictureView &)> &act = {})
{
    change(facts);
    return { name, [facts](PanelWorld &world) { openChat(world, facts); }, act };
}

void send(PictureView &view, const QString &text)
{
    ChatViewModel &chat = *view.world().panel().chat();
    chat.setTypedText(text);
    chat.send();
    view.settle();
}

void addConversations(std::vector<Picture> &all)
{
    all.push_back(chatOf(u"chat-working"_s, photon));
    all.push_back(chatOf(u"chat-scrolled-up"_s, photon, [](PictureView &view) {
        view.focus(u"Messages"_s);
        view.key(Qt::Key_Home);
    }));
    all.push_back(chatOf(u"chat-code-copy"_s, photon, [](PictureView &view) { view.focus(u"Copy"_s); }));
    all.push_back(chatOf(u"chat-tools"_s, atlas, [](PictureView &view) { view.type(u"Now the changelog"_s); }));
    all.push_back(chatOf(u"chat-markdown"_s, markdown));
    all.push_back(chatOf(u"chat-odd-texts"_s, odd));
    all.push_back(chatOf(u"chat-stop"_s, infra, [](PictureView &view) {
        send(view, u"Go ahead with the first node group."_s);
        view.click(u"Stop session"_s);
        view.focus(u"Message..."_s);
        view.type(u"Then wait until its pods are ready"_s);
    }));
    all.push_back(chatOf(u"chat-unfolded"_s, infra, [](PictureView &view) { view.click(u"Show 3 more lines"_s); }));
    all.push_back(chatLike(
        u"chat-long-input"_s, atlas, [](SessionFacts &) {},
        [](PictureView &view) {
            view.world().panel().chat()->setTypedText(
                u"Write a note for the changelog:\n- what changed\n- since when\n- who has to act\n- and by what day"_s);
            view.settle();
        }));
    all.push_back(chatOf(u"chat-dictation"_s, atlas, [](PictureView &view) {
        view.world().panel().chat()->toggleDictation();
        view.settle();
        view.world().dictate(u"then write a note for the change log"_s);
        view.settle();
    }));
    all.push_back(chatOf(u"chat-info"_s, storefront, [](PictureView &view) { view.click(u"storefront-web"_s); }));
    all.push_back(chatLike(u"chat-empty"_s, atlas, [](SessionFacts &facts) { facts.transcript.clear(); }));
    all.push_back({ u"chat-finished"_s, [](PanelWorld &world) {
                       openChat(world, atlas);
                       world.end(world.panel().chat()->session()->id());
                       world.settle();
                   } });
    all.push_back({ u"chat-starting"_s, [](PanelWorld &world) {
                       world.addProject(u"docs-site"_s, 0);
                       world.panel().openSessionBrowser(false);
                       world.panel().browser()->open(0);
                       world.settle();
                       world.panel().picker()->open(0);
                       world.panel().projectDetail()->newSession();
                   } });
}

void addActionBlocks(std::vector<Picture> &all)
{
    all.push_back(chatOf(u"chat-permission"_s, storefront));
    all.push_back(chatOf(u"chat-permission-menu"_s, storefront, [](PictureView &view) { view.click(u"Deny"_s); }));
    all.push_back(chatOf(u"chat-permission-allowed"_s, storefront, [](PictureView &view) { view.click(u"Allow"_s); }));
    all.push_back(chatLike(u"chat-permission-once"_s, storefront, [](SessionFacts &facts) {
        facts.tool = u"Edit"_s;
        facts.toolDetail = u"src/cart/totals.ts"_s;
        facts.suggestsRule = false;
    }));
    all.push_back(chatLike(u"chat-permission-long-input"_s, storefront, [](SessionFacts &facts) {
        facts.toolDetail = u"find . -name '*.snap' -newer package.json -print0 | xargs -0 sed -i "_s +
                           u"'s/checkout-colour/checkout-color/g; s/basket-colour/basket-color/g' "_s.repeated(4);
    }));
    all.push_back(chatLike(u"chat-plan"_s, storefront, [](SessionFacts &facts) {
        facts.tool = u"ExitPlanMode"_s;
        facts.toolDetail = u"Move the cart's totals to the server, then drop the client's own"_s;
        facts.suggestsRule = false;
    }));
    all.push_back(chatOf(u"chat-question"_s, ledger));
    all.push_back(
        chatLike(u"chat-question-other-terminal"_s, ledger, [](SessionFacts &facts) { facts.terminal = u"vscode"_s; }));
    all.push_back(chatLike(u"chat-question-unknown"_s, ledger, [](SessionFacts &facts) { facts.options.clear(); }));
    all.push_back({ u"chat-questions"_s, [](PanelWorld &world) {
                       openChat(world, ledger);
                       const SessionPtr session = world.panel().chat()->session();
                       session->setQuestions(std::vector {
                           question(u"Which rounding should invoices use?"_s,
                                    { u"Half-even"_s, u"Half-up"_s, u"Round per line, then sum"_s }, false),
                           question(u"Which of these reports have to be made again, now that their totals change?"_s,
                                    { u"Monthly statement"_s, u"Tax summary"_s, u"Ageing of receivables"_s,
                                      u"Everything that was sent since the first of January to anybody"_s },
                                    true) });
                       world.settle();
                   } });
}

} // namespace

void addChatPictures(std::vector<Picture> &all)
{
    addConversations(all);
    addActionBlocks(all);
}

} // namespace vantry::gallery
