#include "app/demo/DemoScene.h"

namespace vantry::demo {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

ToolCall bash(const QString &command)
{
    return { u"Bash"_s, u"command"_s, command };
}

ToolCall readFile(const QString &path)
{
    return { u"Read"_s, u"file_path"_s, path };
}

ToolCall editFile(const QString &path)
{
    return { u"Edit"_s, u"file_path"_s, path };
}

ToolCall grep(const QString &pattern)
{
    return { u"Grep"_s, u"pattern"_s, pattern };
}

Scene storefront()
{
    return {
        u"storefront-web"_s,
        u"feat/checkout-retry"_s,
        128,
        34,
        38,
        { { 0s, Prompt { u"Retry the payment call with back-off, keep the cart while it waits."_s } },
          { 1s, readFile(u"src/checkout/payment.ts"_s) },
          { 1s, Reply { u"The retry is in place: three tries, 200 ms to 1.6 s apart. I would like to run the checkout "
                        "tests before I touch the cart."_s } },
          { 500ms, editFile(u"src/checkout/payment.ts"_s) },
          { 1s, AskPermission { bash(u"pnpm test --filter checkout -- --run --reporter=dot"_s), true } },
          { 4s, Reply { u"All **38** checkout tests pass. The cart survives a reload while a try is pending."_s } },
          { 500ms, EndTurn {} },
          { 40s, Prompt { u"Good. Now write the changelog entry."_s } },
          { 3s, editFile(u"CHANGELOG.md"_s) },
          { 2s, AskPermission { bash(u"git commit -am \"Retry the payment call\""_s), true } },
          { 2s, Reply { u"Committed."_s } },
          { 500ms, EndTurn {} } },
        30s
    };
}

Scene ledger()
{
    return { u"ledger-api"_s,
             u"fix/eur-rounding"_s,
             12,
             7,
             61,
             { { 0s, Prompt { u"Invoices in EUR are sometimes a cent off. Find out why."_s } },
               { 2s, grep(u"Math.round"_s) },
               { 1s, readFile(u"src/money/round.ts"_s) },
               { 1s, Reply { u"Line totals are rounded half-up, the invoice total half-even, so the two drift apart on "
                             "`.005`."_s } },
               { 1s, AskQuestion { u"Which rounding should invoices use?"_s,
                                   { u"Half-even"_s, u"Half-up"_s, u"Keep as it is"_s } } },
               { 3s, editFile(u"src/money/round.ts"_s) },
               { 2s, Reply { u"Both use the same rule now, and a test with 10,000 random invoices agrees."_s } },
               { 500ms, EndTurn {} } },
             50s };
}

Scene atlas()
{
    return { u"atlas-tiles"_s,
             u"main"_s,
             0,
             0,
             23,
             { { 0s, Prompt { u"Evict tiles by age instead of by count."_s } },
               { 2s, editFile(u"tiles/cache.go"_s) },
               { 2s, bash(u"go test ./..."_s) },
               { 2s, Reply { u"Tile cache now evicts by age; all 214 tests pass."_s } },
               { 500ms, EndTurn {} } },
             90s };
}

Scene photon()
{
    return {
        u"photon-cli"_s,
        u"perf/lexer"_s,
        310,
        96,
        55,
        { { 0s, Prompt { u"The lexer copies every token. Make it hand out slices and show me the benchmark."_s } },
          { 1s, readFile(u"src/lex/lexer.rs"_s) },
          { 1s, grep(u"fn next_token"_s) },
          { 1s,
            Reply { u"The copy happens in `push_token`. Tokens can borrow from the source, so I changed the buffer to "
                    "**slices**:\n\n```rust\npub struct Token<'src> {\n    kind: TokenKind,\n    text: &'src str,   // "
                    "was: "
                    "String, one allocation for each token\n}\n```"_s } },
          { 2s, editFile(u"src/lex/lexer.rs"_s) },
          { 2s, bash(u"cargo bench --bench lexer -- --save-baseline slices"_s) },
          { 25s, Reply { u"Benchmarking the new lexer against main"_s } },
          { 20s, bash(u"cargo bench --bench lexer -- --baseline slices"_s) },
          { 15s, Reply { u"The lexer is 2.3 times faster: *41 ms* instead of *95 ms* for the large source."_s } },
          { 500ms, EndTurn {} } },
        30s
    };
}

Scene harbor()
{
    return { u"harbor-infra"_s,
             u"ops/rotate-keys"_s,
             4,
             4,
             84,
             { { 0s, Prompt { u"Rotate the staging keys."_s } },
               { 6s, readFile(u"ansible/staging.yml"_s) },
               { 12s, AskPermission { bash(u"ansible-playbook rotate.yml --limit staging --check"_s), false } },
               { 5s, Reply { u"The dry run is clean: 3 hosts would change, nothing else."_s } },
               { 500ms, EndTurn {} } },
             60s };
}

} // namespace

std::vector<Scene> scenes()
{
    return { storefront(), ledger(), atlas(), photon(), harbor() };
}

Scene launchedScene(const QString &project)
{
    return { project, {}, 0, 0, 4, { { 1s, Reply { u"What are we going to do?"_s } }, { 500ms, EndTurn {} } } };
}

std::vector<Step> stepsForPrompt()
{
    return { { 2s, bash(u"ls"_s) },
             { 3s,
               Reply { u"This is a demonstration, so nothing was changed. In a real session the agent would be at work "
                       "now."_s } },
             { 500ms, EndTurn {} } };
}

std::vector<Memory> memories()
{
    return {
        { u"storefront-web"_s, 26h, u"Why does the cart lose its items when the session expires?"_s,
          u"The cart was kept in memory only; it is in local storage now."_s },
        { u"ledger-api"_s, 50h, u"Add an endpoint for credit notes."_s,
          u"`POST /credit-notes` is there, with tests."_s },
        { u"photon-cli"_s, 74h, u"Profile the parser on the large source."_s,
          u"Half of the time is spent in the lexer, which copies every token."_s },
        { u"fieldnotes"_s, 120h, u"Sync notes over flaky connections without losing edits."_s,
          u"Edits are queued and merged by paragraph."_s },
        { u"harbor-infra"_s, 200h, u"Which hosts still run the old kernel?"_s, u"Two: harbor-3 and harbor-7."_s },
    };
}

} // namespace vantry::demo
