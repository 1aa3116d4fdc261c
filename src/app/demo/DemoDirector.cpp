#include "app/demo/DemoDirector.h"

#include "base/Dates.h"
#include "base/Paths.h"
#include "base/Subprocess.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUuid>

#include <nlohmann/json.hpp>

namespace vantry::demo {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using nlohmann::json;

namespace {

/// Between one agent's start and the next one's.
constexpr auto entrance = 1200ms;

QString newID()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(content);
}

QByteArray lines(const char *text, int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += QByteArray(text) + ' ' + QByteArray::number(i) + '\n';
    return result;
}

void git(const QString &folder, const QStringList &arguments)
{
    Subprocess process { u"/usr/bin/git"_s,
                         arguments,
                         folder,
                         { u"GIT_*"_s },
                         { { u"GIT_CONFIG_GLOBAL"_s, u"/dev/null"_s }, { u"GIT_CONFIG_SYSTEM"_s, u"/dev/null"_s } } };
    const auto result = process.run();
    Q_UNUSED(result)
}

/// A project with a commit on the scene's branch, and with the scene's figures of changed lines against it.
void makeProject(const QString &folder, const Scene &scene)
{
    const QString file = folder + u"/work.txt";
    writeFile(file, lines("as it was", scene.linesRemoved + 1));
    git(folder, { u"init"_s, u"-q"_s, u"-b"_s, scene.branch });
    git(folder, { u"add"_s, u"."_s });
    git(folder, { u"-c"_s, u"user.name=Demo"_s, u"-c"_s, u"user.email=demo@localhost"_s, u"commit"_s, u"-q"_s, u"-m"_s,
                  u"Begin"_s });
    writeFile(file, lines("as it was", 1) + lines("as it is now", scene.linesAdded));
}

json message(const char *role, const QString &text)
{
    return { { "role", role }, { "content", { { { "type", "text" }, { "text", text.toStdString() } } } } };
}

} // namespace

Director::Director(World world, Agent::Hooks hooks)
    : m_world(world)
    , m_hooks(std::move(hooks))
{
    m_world.terminal.onLine = [this](const QString &sessionID, const QString &line) {
        if (Agent *const addressed = agent(sessionID))
            addressed->submit(line);
    };
    m_world.terminal.onOpen = [this](const TerminalCommand &command) { launch(command); };
    m_world.processes.onTerminate = [this](std::int64_t pid) {
        for (const auto &each : m_agents) {
            if (each->identity().pid == pid)
                each->end();
        }
    };
}

Director::~Director() = default;

void Director::prepareMemories() const
{
    for (const Memory &memory : memories()) {
        const QString folder = projectFolder(memory.project);
        QDir().mkpath(folder);
        const QString sessionID = newID();
        const QString path = transcriptOf(folder, sessionID);
        const Date then = m_world.clock.now() - memory.ago;
        QByteArray text;
        for (const auto &[type, content] : { std::pair("user", memory.prompt), std::pair("assistant", memory.reply) }) {
            const json line = { { "type", type },
                                { "uuid", newID().toStdString() },
                                { "sessionId", sessionID.toStdString() },
                                { "cwd", folder.toStdString() },
                                { "gitBranch", "main" },
                                { "timestamp", isoMilliseconds(then).toStdString() },
                                { "message", message(type, content) } };
            text += QByteArray::fromStdString(line.dump() + "\n");
        }
        writeFile(path, text);
        QFile file(path);
        if (file.open(QIODevice::ReadWrite)) {
            const auto seconds = static_cast<qint64>(secondsSince1970(then));
            file.setFileTime(QDateTime::fromSecsSinceEpoch(seconds), QFileDevice::FileModificationTime);
        }
    }
}

void Director::start()
{
    const auto all = std::make_shared<const std::vector<Scene>>(scenes());
    std::vector<QString> folders;
    for (const Scene &scene : *all) {
        folders.push_back(projectFolder(scene.project));
        QDir().mkpath(folders.back());
    }
    m_world.workers.run([this, all, folders, isHere = std::weak_ptr(m_isHere), &mainQueue = m_world.mainQueue] {
        for (std::size_t i = 0; i < all->size(); ++i)
            makeProject(folders[i], (*all)[i]);
        mainQueue.post([this, all, isHere] {
            if (isHere.expired())
                return;
            auto delay = 0ms;
            for (const Scene &scene : *all) {
                m_entrances.push_back(m_world.scheduler.after(delay, [this, scene] { startAgent(scene, newID()); }));
                delay += entrance;
            }
        });
    });
}

void Director::launch(const TerminalCommand &command)
{
    static const QRegularExpression resumed(u"--resume '?([0-9a-fA-F-]{36})"_s);
    const auto match = resumed.match(command.commandLine);
    const QString sessionID = match.hasMatch() ? match.captured(1) : newID();
    m_entrances.push_back(m_world.scheduler.after(entrance, [this, command, sessionID] {
        startAgent(launchedScene(QDir(command.directory).dirName()), sessionID);
    }));
}

void Director::startAgent(const Scene &scene, const QString &sessionID)
{
    const QString folder = projectFolder(scene.project);
    const std::int64_t pid = m_nextPid++;
    m_world.processes.add(pid);
    m_agents.push_back(
        std::make_unique<Agent>(scene, Agent::Identity { sessionID, pid, folder, transcriptOf(folder, sessionID) },
                                m_hooks, m_world.scheduler, m_world.clock));
    m_agents.back()->start();
}

Agent *Director::agent(const QString &sessionID) const
{
    // The newest one: an old one of the same identifier has ended, and was resumed.
    for (auto each = m_agents.rbegin(); each != m_agents.rend(); ++each) {
        if ((*each)->identity().sessionID == sessionID)
            return each->get();
    }
    return nullptr;
}

QString Director::projectFolder(const QString &project) const
{
    return m_world.paths.home + u"/projects/" + project;
}

QString Director::transcriptOf(const QString &folder, const QString &sessionID) const
{
    QString name = folder;
    static const QRegularExpression other(u"[^a-zA-Z0-9]"_s);
    name.replace(other, u"-"_s);
    const QString transcripts = m_world.paths.agentFolder() + u"/projects/" + name;
    QDir().mkpath(transcripts);
    return transcripts + u'/' + sessionID + u".jsonl";
}

} // namespace vantry::demo
