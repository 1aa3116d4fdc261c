#include "Document.h"
#include "Eventually.h"
#include "Vantry.h"

#include "app/CommandTable.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <map>

namespace vantry::test {
namespace {

const QDir checkout(VANTRY_CHECKOUT);

/// What stands in the documents, but is not run here, and why.
const std::map<QString, QString> notRun {
    { "sudo", "installs packages" },
    { "apt-get", "installs packages" },
    { "ninja", "builds; the tests of the gallery and of the style run what it builds" },
    { "cmake", "builds" },
    { "cpack", "builds; the package has a test of its own" },
    { "ctest", "runs all tests" },
    { "build/debug/gallery", "has a test of its own" },
    { "gnome-extensions", "needs a running GNOME" },
    { "secret-tool", "needs an unlocked secret service, which the desktop's tests have" },
};

/// A home as the documents take it for granted: the hook is installed, a project has a transcript, and the session
/// "4905" waits for a permission.
class DocumentedHome
{
public:
    DocumentedHome()
    {
        EXPECT_TRUE(vantry.shows("4905", "heldPermissions", 1));
        EXPECT_TRUE(eventually([this] { return !vantry.runJson({ "projects", "--json" }).at("projects").empty(); }));
    }
    /// What a shell in this home makes of the line.
    [[nodiscard]] std::unique_ptr<ChildProcess> shell(const QString &line) const
    {
        QProcessEnvironment more;
        more.insert("PATH", vantry.home() + "/bin:" + vantry.environment().value("PATH"));
        EXPECT_EQ(vantry.environment().value("HOME"), vantry.home()) << "what is deleted is the test's own";
        return vantry.other("sh", { "-c", line }, more);
    }

    Vantry vantry;

private:
    /// Gives the transcript's path.
    [[nodiscard]] QString furnish() const
    {
        const QDir home(vantry.home());
        const QString project = home.filePath("shop");
        const QString transcripts =
            ".claude/projects/" + QString(project).replace(QRegularExpression("[^A-Za-z0-9]"), "-");
        for (const QString &folder :
             QStringList { "bin", "shop", ".local/share/Vantry", ".config/Vantry", transcripts })
            home.mkpath(folder);
        QFile::link(QStringLiteral(VANTRY_PROGRAM), home.filePath("bin/vantry"));
        write(".local/share/Vantry/debug.log", "");
        const QString line = R"({"type":"user","uuid":"u1","cwd":"%1","timestamp":"2026-01-31T09:05:07.250Z",)"
                             R"("message":{"role":"user","content":"Mend the flaky test"}})";
        write(transcripts + "/4905.jsonl", line.arg(project).toUtf8() + '\n');
        return home.filePath(transcripts + "/4905.jsonl");
    }
    [[nodiscard]] HookCall ask()
    {
        vantry.start();
        EXPECT_EQ(vantry.run({ "hook", "install" }).exitCode, 0);
        return HookCall::post(
            permissionRequest("4905", { { "transcript_path", m_transcript.toStdString() },
                                        { "permission_suggestions", Json::array({ { { "type", "addRules" } } }) } }));
    }
    void write(const QString &path, const QByteArray &bytes) const
    {
        QFile file(vantry.home() + '/' + path);
        EXPECT_TRUE(file.open(QFile::WriteOnly)) << path.toStdString();
        file.write(bytes);
    }

    const QString m_transcript { furnish() };
    const HookCall m_call { ask() };
};

/// What the line starts, behind the variables that it sets for it.
QString programOf(const QString &line)
{
    for (const QString &word : line.split(u' ', Qt::SkipEmptyParts)) {
        if (!word.contains(u'='))
            return word;
    }
    return {};
}

void expectToRun(const QString &line)
{
    SCOPED_TRACE(line.toStdString());
    const QString program = programOf(line);
    if (notRun.contains(program))
        return;
    if (program.contains(u'/')) {
        EXPECT_TRUE(QFileInfo(checkout.filePath(program)).isExecutable()) << "no such script";
        return;
    }
    DocumentedHome home;
    const auto running = home.shell(line);
    if (line.startsWith("vantry watch")) {
        EXPECT_NE(running->nextLine(), "");
        running->killAndWait();
        return;
    }
    const CommandResult result = running->finish();
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

/// The files whose commands are run: each is a test of its own.
std::vector<std::string> documentsWithCommands()
{
    std::vector<std::string> paths;
    for (const Document &document : Document::all()) {
        for (const Document::Block &block : document.blocks) {
            if (block.language != "sh")
                continue;
            paths.push_back(document.path.toStdString());
            break;
        }
    }
    return paths;
}

class CommandsIn : public ::testing::TestWithParam<std::string>
{};

TEST_P(CommandsIn, work)
{
    for (const Document::Block &block : Document::read(QString::fromStdString(GetParam())).blocks) {
        if (block.language != "sh")
            continue;
        for (const QString &line : block.lines) {
            const QString command = line.section(" #", 0, 0).trimmed();
            if (!command.isEmpty() && !command.startsWith(u'#'))
                expectToRun(command);
        }
    }
}

std::string testName(const ::testing::TestParamInfo<std::string> &path)
{
    return QString::fromStdString(path.param).replace(QRegularExpression("[^A-Za-z0-9]"), "_").toStdString();
}

INSTANTIATE_TEST_SUITE_P(Documentation, CommandsIn, ::testing::ValuesIn(documentsWithCommands()), testName);

TEST(Documentation, showsCommandsInBlocksThatAreRun)
{
    for (const Document &document : Document::all()) {
        for (const Document::Block &block : document.blocks) {
            EXPECT_THAT(block.language.toStdString(), ::testing::AnyOf("", "sh", "json"))
                << document.path.toStdString();
            if (block.language == "sh")
                continue;
            for (const QString &line : block.lines) {
                const QString program = programOf(line);
                const bool isOurs = program == "vantry" || program.startsWith("./") || program.startsWith("tools/");
                const bool isCommand = (isOurs || notRun.contains(program)) && line.startsWith(program);
                EXPECT_FALSE(isCommand) << document.path.toStdString() << ": " << line.toStdString();
            }
        }
    }
}

/// Whether this can be called so: a command with its own options, and at most as many words as it takes. In a text a
/// command may stand without what it takes.
bool isCommand(const QString &text)
{
    QStringList words = QProcess::splitCommand(text).mid(1);
    for (const OptionEntry &option : startOptions()) {
        if (words == QStringList { option.name.toString() })
            return true;
    }
    if (words.isEmpty())
        return true;
    for (const CommandEntry *command : allCommands()) {
        const QStringList name = command->name.toString().split(u' ');
        if (words.first(std::min(name.size(), words.size())) != name)
            continue;
        qsizetype operands = words.size() - name.size();
        for (const OptionEntry &option : command->options) {
            const qsizetype place = words.indexOf(option.name.toString());
            if (place >= 0)
                operands -= option.value.isEmpty() || place + 1 == words.size() ? 1 : 2;
        }
        const bool isRepeated = !command->operands.empty() && command->operands.back().isRepeated;
        return isRepeated || operands <= qsizetype(command->operands.size());
    }
    return false;
}

TEST(Documentation, knowsACommandFromAnInventedOne)
{
    for (const char *command : { "vantry", "vantry allow", "vantry deny 4905 --stop", "vantry hook install",
                                 "vantry send 4905 Go on", "vantry --demo", "vantry launch ~/shop --mode planMode" })
        EXPECT_TRUE(isCommand(command)) << command;
    for (const char *command : { "vantry hook", "vantry hook remove", "vantry alow 4905", "vantry status 4905",
                                 "vantry allow 4905 --stop", "vantry --loud" })
        EXPECT_FALSE(isCommand(command)) << command;
}

TEST(Documentation, namesOnlyCommandsThatThereAre)
{
    for (const Document &document : Document::all()) {
        for (const QString &code : document.codes) {
            if (code == "vantry" || code.startsWith("vantry ")) {
                EXPECT_TRUE(isCommand(code)) << document.path.toStdString() << ": " << code.toStdString();
            }
        }
    }
}

TEST(Documentation, namesEveryCommand)
{
    const Document scripting = Document::read("docs/scripting.md");
    for (const CommandEntry *command : allCommands()) {
        const QString name = "vantry " + command->name.toString();
        EXPECT_TRUE(std::any_of(scripting.codes.begin(), scripting.codes.end(), [&](const QString &code) {
            return code == name || code.startsWith(name + u' ');
        })) << name.toStdString();
    }
}

/// The names of all files of the checkout that are sources.
QStringList sourceNames()
{
    QStringList names;
    for (const char *folder : { "src", "tests", "tools", "bench", "fuzz" }) {
        QDirIterator files(checkout.filePath(QString::fromLatin1(folder)), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            names.append(QFileInfo(files.next()).fileName());
    }
    return names;
}

TEST(Documentation, namesOnlyFilesThatThereAre)
{
    const QRegularExpression path(R"(^(\./)?(src|tests|tools|bench|fuzz|packaging|docs|cmake|run|test)(/[\w./-]*)?$)");
    const QRegularExpression source(R"(^\w+\.(h|cpp|qml|py)$)");
    const QStringList sources = sourceNames();
    for (const Document &document : Document::all()) {
        for (const QString &code : document.codes) {
            SCOPED_TRACE(document.path.toStdString() + ": " + code.toStdString());
            const QString first = code.section(u' ', 0, 0);
            if (path.match(first).hasMatch() && first.contains(u'/')) {
                EXPECT_TRUE(checkout.exists(first));
            }
            if (source.match(code).hasMatch()) {
                EXPECT_TRUE(sources.contains(code));
            }
        }
    }
}

TEST(Documentation, tellsOfEveryFolderOfTheSource)
{
    const QStringList codes = Document::read("docs/architecture.md").codes;
    for (const QString &folder : QDir(checkout.filePath("src")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        EXPECT_TRUE(codes.contains(folder + u'/')) << folder.toStdString();
    for (const QString &folder : QDir(checkout.filePath("src/app")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        EXPECT_TRUE(codes.contains(folder + u'/')) << folder.toStdString();
}

TEST(Documentation, linksOnlyToFilesThatThereAre)
{
    for (const Document &document : Document::all()) {
        const QDir folder = QFileInfo(checkout.filePath(document.path)).dir();
        for (const QString &target : document.links)
            EXPECT_TRUE(folder.exists(target)) << document.path.toStdString() << ": " << target.toStdString();
    }
}

TEST(Documentation, listsEveryDocument)
{
    const QStringList listed = Document::read("docs/README.md").links;
    for (const QString &name : QDir(checkout.filePath("docs")).entryList({ "*.md" }, QDir::Files)) {
        EXPECT_TRUE(name == "README.md" || listed.contains(name)) << name.toStdString();
    }
    const QStringList decisions = Document::read("docs/decisions/README.md").links;
    for (const QString &name : QDir(checkout.filePath("docs/decisions")).entryList({ "*.md" }, QDir::Files)) {
        EXPECT_TRUE(name == "README.md" || decisions.contains(name)) << name.toStdString();
    }
}

TEST(Documentation, namesOnlySettingsThatThereAre)
{
    QString source;
    QDirIterator files(checkout.filePath("src"), { "*.cpp", "*.h" }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        source += QString::fromUtf8(file.readAll());
    }
    qsizetype found = 0;
    for (const Document &document : Document::all()) {
        for (const QString &key : document.tableKeys) {
            // Some are put together: a beginning, and the name of an event.
            const qsizetype joint = key.indexOf(u'_') + 1;
            EXPECT_TRUE(source.contains('"' + key + '"') || (source.contains('"' + key.first(joint) + '"') &&
                                                             source.contains('"' + key.sliced(joint) + '"')))
                << document.path.toStdString() << ": " << key.toStdString();
            ++found;
        }
    }
    EXPECT_GT(found, 5);
}

/// Where both have something, both have the same keys.
void expectSameKeys(const Json &documented, const Json &real, const std::string &where)
{
    if (documented.is_array() && !documented.empty()) {
        ASSERT_TRUE(real.is_array() && !real.empty()) << where;
        expectSameKeys(documented.front(), real.front(), where + "[0]");
        return;
    }
    if (!documented.is_object() || documented.empty())
        return;
    ASSERT_TRUE(real.is_object()) << where;
    std::vector<std::string> documentedKeys;
    std::vector<std::string> realKeys;
    for (const auto &[key, value] : documented.items())
        documentedKeys.push_back(key);
    for (const auto &[key, value] : real.items())
        realKeys.push_back(key);
    EXPECT_EQ(documentedKeys, realKeys) << where;
    for (const auto &[key, value] : documented.items()) {
        if (real.contains(key))
            expectSameKeys(value, real.at(key), where + '.' + key);
    }
}

TEST(Documentation, showsTheJsonThatIsPrinted)
{
    DocumentedHome home;
    qsizetype compared = 0;
    for (const Document &document : Document::all()) {
        for (const Document::Block &block : document.blocks) {
            if (block.language != "json" || block.remark.isEmpty())
                continue;
            SCOPED_TRACE(document.path.toStdString() + ": vantry " + block.remark.toStdString());
            const Json documented = Json::parse(block.lines.join(u'\n').toStdString(), nullptr, false);
            ASSERT_FALSE(documented.is_discarded());
            const CommandResult result = home.vantry.run(block.remark.split(u' ') + QStringList { "--json" });
            const Json real = Json::parse(result.out, nullptr, false);
            ASSERT_FALSE(real.is_discarded()) << result.err;
            expectSameKeys(documented, real, "");
            ++compared;
        }
    }
    EXPECT_GT(compared, 5);
}

} // namespace
} // namespace vantry::test
