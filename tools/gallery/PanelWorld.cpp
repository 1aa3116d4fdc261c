#include "gallery/PanelWorld.h"

#include "panels/DictationService.h"
#include "sessions/GitRepositories.h"
#include "support/EventBuilder.h"
#include "terminal/TypingRules.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

std::optional<QString> unlessEmpty(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

std::vector<HookEvent::Question> questionWith(const QStringList &options)
{
    HookEvent::Question question { u"How shall amounts in euro be rounded?"_s, u"Rounding"_s, {}, false };
    question.options.emplace();
    for (const QString &option : options)
        question.options->push_back({ option, std::nullopt });
    return { question };
}

} // namespace

PanelWorld::PanelWorld()
    : m_store(m_home.filePath(u"data/vantry.db"_s), m_clock, m_log)
    , m_defaults(m_home.filePath(u"settings.json"_s), m_mainQueue, m_log)
    , m_panel(services(), callbacks())
    , m_notch(m_manager, m_scheduler, callbacks(),
              [this] { return std::make_unique<MenuBarViewModel>(services(), callbacks()); })
{
    m_store.queue().sync([this] { m_store.open(); });
}

PanelWorld::~PanelWorld()
{
    m_workers.waitForDone();
    m_store.queue().sync([this] { m_store.close(); });
}

PanelServices PanelWorld::services()
{
    return { m_manager,
             m_changes,
             m_store,
             m_git,
             m_workers,
             m_mainQueue,
             m_clock,
             m_scheduler,
             m_defaults,
             m_log,
             m_home.path(),
             &m_telegram,
             [this] { return std::make_unique<DictationService>(m_microphone, &m_recogniser, m_mainQueue); } };
}

SessionCallbacks PanelWorld::callbacks()
{
    SessionCallbacks calls;
    const auto note = [this](const QString &what, const SessionPtr &session) {
        acts.append(what + u' ' + session->id());
    };
    calls.onFocusSession = [note](const SessionPtr &session) { note(u"focus"_s, session); };
    calls.onAllowSession = [note](const SessionPtr &session) { note(u"allow"_s, session); };
    calls.onDenySession = [note](const SessionPtr &session, bool) { note(u"deny"_s, session); };
    calls.onAlwaysAllowSession = [note](const SessionPtr &session) { note(u"always"_s, session); };
    calls.onKillSession = [note](const SessionPtr &session) { note(u"kill"_s, session); };
    calls.onAnswerQuestion = [note](const SessionPtr &session, int index) { note(u"answer %1"_s.arg(index), session); };
    calls.onLaunchClaude = [this](const QString &path, const TerminalBridge::LaunchMode &, const AgentLaunchFlags &) {
        acts.append(u"launch "_s + QDir(path).dirName());
    };
    calls.hasAlwaysAllowSuggestions = [this](const SessionPtr &session) { return m_withRule.contains(session->id()); };
    calls.canType = [](const SessionPtr &session) { return session->terminalType() == u"tmux-pane"_s; };
    calls.refusalOfText = [](const SessionPtr &session) { return TypingRules::refusalOfText(*session); };
    calls.refusalOfAnswer = [this](const SessionPtr &session, int) -> std::optional<QString> {
        if (sessionsWithoutAnswer.contains(session->id()))
            return u"Answer in the terminal."_s;
        return std::nullopt;
    };
    calls.terminalName = [](const SessionPtr &) { return u"tmux"_s; };
    calls.openSettingsWindow = [this] { acts.append(u"settings"_s); };
    calls.quit = [this] { acts.append(u"quit"_s); };
    return calls;
}

QString PanelWorld::projectPath(const QString &project) const
{
    return m_home.filePath(u"src/"_s + project);
}

SessionPtr PanelWorld::add(const SessionFacts &facts, const QString &id)
{
    const QString identifier = id.isEmpty() ? facts.project : id;
    test::EventBuilder event(HookEventType::sessionStart);
    event.session(identifier).terminal(facts.terminal, u"/tmp/tmux,%0"_s);
    if (!facts.transcript.isEmpty()) {
        const QString path = m_home.filePath(identifier + u".jsonl"_s);
        test::writeFile(path, facts.transcript);
        event.transcriptPath(path);
    }
    if (!facts.project.isEmpty())
        event.cwd(projectPath(facts.project));
    m_manager.handleEvent(event);
    settle(); // The sample of its diff is back.

    const SessionPtr session = m_manager.session(identifier);
    session->setState(facts.state);
    session->setGitBranch(unlessEmpty(facts.branch));
    session->setGitLinesAdded(facts.linesAdded);
    session->setGitLinesRemoved(facts.linesRemoved);
    if (facts.contextUsed >= 0)
        session->setContextPercent(100 - facts.contextUsed);
    session->setLastMessage(unlessEmpty(facts.message));
    session->setToolName(unlessEmpty(facts.tool));
    session->setToolDetail(unlessEmpty(facts.toolDetail));
    if (!facts.options.isEmpty())
        session->setQuestions(questionWith(facts.options));
    session->setLastUpdated(m_clock.now() - std::chrono::minutes(facts.minutesAgo));
    if (session->needsAttention())
        session->setLastAttentionDate(m_clock.now());
    if (facts.suggestsRule)
        m_withRule.insert(identifier);
    return session;
}

void PanelWorld::addRemembered(const SessionFacts &facts, const QString &id, const QString &snippet)
{
    VantrySession::Init init;
    init.id = id;
    init.state = SessionState::ready;
    init.projectName = unlessEmpty(facts.project.section(u'/', -1));
    init.cwd = projectPath(facts.project);
    init.startedAt = init.lastUpdated = m_clock.now() - std::chrono::minutes(facts.minutesAgo);
    init.isAlive = false;
    VantrySession session(init);
    session.setGitBranch(unlessEmpty(facts.branch));
    m_store.queue().sync([&] { m_store.save(session); });
    m_store.updateSearchIndex(id, snippet, std::nullopt, snippet);
}

void PanelWorld::addProject(const QString &project, int minutesAgo, const QStringList &prompts) const
{
    const QString path = projectPath(project);
    QString folder = path;
    std::ranges::replace_if(
        folder, [](QChar unit) { return !unit.isLetterOrNumber(); }, QChar(u'-'));
    const QString transcripts = m_home.filePath(u".claude/projects/"_s + folder);
    QDir().mkpath(path);
    QDir().mkpath(transcripts);

    int age = minutesAgo;
    for (const QString &prompt : prompts.isEmpty() ? QStringList { u"Go on"_s } : prompts) {
        QFile file(transcripts + u"/00000000-0000-4000-8000-%1.jsonl"_s.arg(age, 12, 10, QChar(u'0')));
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write(R"({"type":"user","uuid":"u","message":{"role":"user","content":")" + prompt.toUtf8() +
                   R"("},"cwd":")" + path.toUtf8() + "\"}\n");
        file.flush();
        const auto time = std::chrono::time_point_cast<std::chrono::milliseconds>(m_clock.now()).time_since_epoch();
        file.setFileTime(QDateTime::fromMSecsSinceEpoch(time.count()).addSecs(-60LL * age),
                         QFileDevice::FileModificationTime);
        age = age * 3 + 60;
    }
}

void PanelWorld::dictate(const QString &text)
{
    constexpr int blocks = 12;
    for (int block = 0; block < blocks; ++block) {
        const float loudness = 0.02F + 0.01F * static_cast<float>(block * 5 % 7);
        m_microphone.speak(std::vector<float>(Microphone::framesPerBlock, loudness));
    }
    m_recogniser.understand(text);
    settle();
}

void PanelWorld::end(const QString &id)
{
    m_manager.handleEvent(test::EventBuilder(HookEventType::sessionEnd).session(id));
}

void PanelWorld::settle()
{
    // What one of them starts, the others finish.
    for (int round = 0; round < 3; ++round) {
        m_workers.waitForDone();
        m_store.queue().sync([] {});
        m_mainQueue.drainAll();
    }
}

void PanelWorld::settleAfter(Seconds time)
{
    settle();
    m_scheduler.advance(time);
    settle();
}

} // namespace vantry::gallery
