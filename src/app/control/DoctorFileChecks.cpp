#include "app/control/DoctorChecks.h"

#include "base/DesktopEntry.h"
#include "base/Files.h"
#include "base/JsonText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <sqlite3.h>

#include <sys/statvfs.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace vantry {

using namespace Qt::StringLiterals;
using Weight = DoctorCheck::Weight;

namespace {

/// Less than this on the disk, and soon nothing can be kept any more.
constexpr qint64 scarceBytes = 20LL * 1024 * 1024;
/// A database up to this size is looked through: it takes a second at most.
constexpr qint64 largestLookedThrough = 200LL * 1024 * 1024;

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

struct Disk
{
    bool isReadOnly { false };
    std::optional<qint64> freeBytes {}; ///< For this user, where it is known.
};

/// Asks the kernel, which knows it also where there is no list of what is mounted.
Disk diskOf(const QString &path)
{
    struct statvfs answer = {};
    if (statvfs(QFile::encodeName(path).constData(), &answer) != 0)
        return {};
    return { (answer.f_flag & ST_RDONLY) != 0, static_cast<qint64>(answer.f_bavail * answer.f_frsize) };
}

QString systemError(int error)
{
    return QString::fromLocal8Bit(strerrordesc_np(error));
}

/// The path, or what stands nearest above it.
QString nearestThatExists(QString path)
{
    while (!QFileInfo::exists(path) && path != u"/")
        path = QFileInfo(path).absolutePath();
    return path;
}

/// The database, opened to be read.
class ReadOnlyDatabase
{
public:
    explicit ReadOnlyDatabase(const QString &path)
    {
        sqlite3 *raw = nullptr;
        m_error = sqlite3_open_v2(QFile::encodeName(path).constData(), &raw, SQLITE_OPEN_READONLY, nullptr);
        m_database.reset(raw);
        if (raw)
            sqlite3_busy_timeout(raw, 3000);
    }

    /// The first value of the first row; nothing on failure, and error() says why.
    [[nodiscard]] std::optional<QString> ask(const char *question)
    {
        if (m_error != SQLITE_OK)
            return std::nullopt;
        QString answer;
        const auto read = [](void *context, int, char **values, char **) {
            *static_cast<QString *>(context) = QString::fromUtf8(values[0] ? values[0] : "");
            return 0;
        };
        m_error = sqlite3_exec(m_database.get(), question, read, &answer, nullptr);
        return m_error == SQLITE_OK ? std::optional(answer) : std::nullopt;
    }

    [[nodiscard]] QString error() const
    {
        return QString::fromUtf8(m_database ? sqlite3_errmsg(m_database.get()) : "out of memory");
    }

private:
    struct Close
    {
        void operator()(sqlite3 *database) const { sqlite3_close(database); }
    };

    std::unique_ptr<sqlite3, Close> m_database;
    int m_error { SQLITE_OK };
};

/// What is wrong with the database, else what is in it.
struct DatabaseFindings
{
    std::optional<QString> problem {};
    QString content {};
};

DatabaseFindings lookInto(const QString &path)
{
    const QFileInfo file(path);
    // SQLite would wait for ever at a FIFO.
    if (!file.isFile())
        return { u"not a file"_s };
    ReadOnlyDatabase database(path);
    const auto tables = database.ask("SELECT count(*) FROM sqlite_master");
    if (!tables)
        return { database.error() };
    const bool isSmall = file.size() <= largestLookedThrough;
    if (isSmall) {
        const auto verdict = database.ask("PRAGMA quick_check(1)");
        if (verdict != u"ok")
            return { verdict.value_or(database.error()) };
    }
    if (tables == u"0")
        return { {}, u"empty"_s };
    const auto sessions = database.ask("SELECT count(*) FROM sessions");
    if (!sessions)
        return { database.error() };
    if (!file.isWritable())
        return { u"it can't be written to"_s };
    return { {},
             u"%1 sessions, %2%3"_s.arg(*sessions, sizeText(file.size()),
                                        isSmall ? u", sound"_s : u", not looked through"_s) };
}

/// Where in the text it stops being JSON; nothing when that can't be told.
std::optional<QString> placeOfDefect(const std::string &text)
{
    try {
        [[maybe_unused]] const Json value = Json::parse(text);
    } catch (const Json::parse_error &error) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(error.byte, text.size()));
        return u"line %1"_s.arg(1 + std::count(text.begin(), end, '\n'));
    } catch (const Json::exception &) {
        // Something else than the place.
    }
    return std::nullopt;
}

} // namespace

DoctorCheck DoctorChecks::dataFolder() const
{
    DoctorCheck check { .name = u"data folder"_s, .weight = Weight::Essential };
    const QString path = m_surroundings.paths.dataFolder;
    const QFileInfo folder(path);
    if (!folder.exists()) {
        const QString above = nearestThatExists(path);
        check.ok = QFileInfo(above).isDir() && QFileInfo(above).isWritable();
        check.detail = check.ok ? u"There is none yet; the first start makes it"_s
                                : u"%1 can't be made: %2 can't be written to"_s.arg(path, above);
        if (!check.ok)
            check.advice = u"Make that a folder that belongs to you"_s;
        return check;
    }
    constexpr auto others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    const Disk disk = diskOf(path);
    if (folder.isDir() && disk.isReadOnly) {
        check.detail = u"%1 is on a disk that is mounted to be read only"_s.arg(path);
        check.advice = u"Mount that disk so that it can be written to"_s;
    } else if (!folder.isDir() || !folder.isWritable()) {
        check.detail = u"%1 can't be written to"_s.arg(path);
        check.advice = u"Make it a folder that belongs to you"_s;
    } else if (folder.permissions() & others) {
        check.detail = u"%1 is open to other users"_s.arg(path);
        check.advice = u"Run \"chmod 700 %1\""_s.arg(path);
        check.weight = Weight::Helpful;
    } else if (disk.freeBytes && *disk.freeBytes < scarceBytes) {
        check.detail = u"Only %1 are free for %2"_s.arg(sizeText(*disk.freeBytes), path);
        check.advice = u"Make room on that disk: what can't be written is lost"_s;
    } else {
        check.ok = true;
        check.detail = u"%1 is yours alone"_s.arg(path);
        if (disk.freeBytes)
            check.detail += u", %1 are free"_s.arg(sizeText(*disk.freeBytes));
    }
    return check;
}

DoctorCheck DoctorChecks::database() const
{
    DoctorCheck check { .name = u"database"_s, .weight = Weight::Essential };
    const QString path = m_surroundings.paths.database();
    if (!QFileInfo::exists(path)) {
        check.ok = true;
        check.detail = u"There is none yet; the first start makes it"_s;
        return check;
    }
    if (!QFileInfo(m_surroundings.paths.dataFolder).isWritable()) {
        check.detail = u"%1 can't be written to, as its folder can't"_s.arg(path);
        check.advice = u"See to the data folder first"_s;
        return check;
    }
    const DatabaseFindings found = lookInto(path);
    check.ok = !found.problem;
    check.detail = u"%1: %2"_s.arg(path, found.problem.value_or(found.content));
    if (!check.ok)
        check.advice =
            u"Quit Vantry and move the file away: a new one is made, and filled from the agent's transcripts"_s;
    return check;
}

DoctorCheck DoctorChecks::log() const
{
    DoctorCheck check { .name = u"log"_s };
    const QFileInfo file(m_surroundings.paths.debugLog());
    if (!file.exists()) {
        check.ok = true;
        check.detail = u"There is none yet; the first start makes it"_s;
        return check;
    }
    check.ok = file.isFile() && file.isWritable();
    check.detail = (check.ok ? u"%1 can be written to"_s : u"%1 can't be written to"_s).arg(file.filePath());
    if (!check.ok)
        check.advice =
            QFileInfo(file.path()).isWritable() ? u"Remove it: a new one is made"_s : u"See to the data folder first"_s;
    return check;
}

DoctorCheck DoctorChecks::settings() const
{
    DoctorCheck check { .name = u"settings"_s };
    const QString path = m_surroundings.paths.configFile;
    const FileContent content = readRegularFile(QFile::encodeName(path).toStdString());
    if (content.error == ENOENT) {
        check.ok = true;
        check.detail = u"There are none yet: everything is as it comes"_s;
        return check;
    }
    if (!content.bytes) {
        check.detail = u"%1 can't be read: %2"_s.arg(path, systemError(content.error));
        check.advice = u"Make it a file that belongs to you, or move it away"_s;
        return check;
    }
    const auto parsed = JsonText::parse(*content.bytes);
    if (!parsed || !parsed->isObject()) {
        const auto place = placeOfDefect(*content.bytes);
        check.detail =
            !parsed && place ? u"%1 is not JSON: see %2"_s.arg(path, *place) : u"%1 is no JSON object"_s.arg(path);
        check.advice = u"Mend it: until then everything is as it comes, and the next change puts it aside"_s;
        return check;
    }
    if (!QFileInfo(QFileInfo(path).canonicalPath()).isWritable()) {
        check.detail = u"%1 can't be replaced, so no change is kept"_s.arg(path);
        check.advice = u"Make its folder one that belongs to you"_s;
        return check;
    }
    check.ok = true;
    check.detail = u"%1 can be read and written"_s.arg(path);
    return check;
}

DoctorCheck DoctorChecks::autostart() const
{
    DoctorCheck check { .name = u"autostart"_s, .ok = true, .detail = u"Vantry is not started at login"_s };
    const QString path = configFolder() + u"/autostart/com.vantry.app.desktop"_s;
    const FileContent content = readRegularFile(QFile::encodeName(path).toStdString());
    if (!content.bytes) {
        if (content.error == ENOENT)
            return check;
        check.ok = false;
        check.detail = u"%1 can't be read: %2"_s.arg(path, systemError(content.error));
        check.advice = u"Remove it, then turn on \"Launch at Login\" in the settings"_s;
        return check;
    }
    const DesktopEntry entry(*content.bytes);
    if (entry.isSwitchedOff())
        return check;
    const QString program = entry.program();
    const QFileInfo file(program);
    check.ok = file.isAbsolute() ? file.isFile() && file.isExecutable() : !find(program).isEmpty();
    check.detail = check.ok ? u"Vantry is started at login, as %1"_s.arg(program)
                            : u"What is started at login is not there: %1"_s.arg(program.isEmpty() ? path : program);
    if (!check.ok)
        check.advice = u"Turn \"Launch at Login\" off and on again in the settings"_s;
    return check;
}

} // namespace vantry
