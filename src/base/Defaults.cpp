#include "base/Defaults.h"

#include "base/Files.h"
#include "base/JsonText.h"
#include "base/Paths.h"
#include "base/SerialQueue.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>

#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>

namespace vantry {
namespace {

/// What we have set and is not known to be in the file; a removed key has no value.
struct Edit
{
    std::optional<JsonText> value;
    std::uint64_t number; ///< Edits are counted.
};
using Edits = std::map<std::string, Edit>;
using Values = std::map<std::string, JsonText>;

struct Settings
{
    JsonText object;
    std::optional<QString> defect; ///< Why the file's text is not a settings object; then `object` is empty.
    int error { 0 };               ///< Why the file can't be read, as an errno.
};

Settings readSettings(const std::string &path)
{
    const FileContent content = readRegularFile(path);
    if (!content.bytes)
        return { JsonText::object(), std::nullopt, content.error };
    QString defect;
    auto parsed = JsonText::parse(*content.bytes, &defect);
    if (parsed && !parsed->isObject())
        defect = QStringLiteral("the text is not an object");
    if (!defect.isEmpty())
        return { JsonText::object(), defect, 0 };
    return { std::move(*parsed), std::nullopt, 0 };
}

QString errorText(int error)
{
    return QString::fromLocal8Bit(strerrordesc_np(error));
}

void applyEdits(const Edits &edits, JsonText &object)
{
    for (const auto &[key, edit] : edits) {
        if (edit.value)
            object.set(key, *edit.value);
        else
            object.remove(key);
    }
}

/// One write of the file, made on the main thread and carried out on the queue. What others have put into the file in
/// the meantime stays, but for the keys that were set here.
class Write
{
public:
    Write(std::string path, Edits edits, std::uint64_t lastEdit, Log &log)
        : m_path(std::move(path))
        , m_edits(std::move(edits))
        , m_lastEdit(lastEdit)
        , m_log(log)
    {}

    void run()
    {
        m_hasSucceeded = writeEdits();
        m_isDone.store(true, std::memory_order_release);
    }

    [[nodiscard]] bool isDone() const { return m_isDone.load(std::memory_order_acquire); }
    [[nodiscard]] bool hasSucceeded() const { return m_hasSucceeded; }
    [[nodiscard]] std::uint64_t lastEdit() const { return m_lastEdit; }

private:
    bool writeEdits()
    {
        Settings settings = readSettings(m_path);
        if (settings.error != 0 && settings.error != ENOENT)
            return fail(settings.error);
        if (settings.error == ENOENT)
            makePrivateFolder(QFileInfo(QFile::decodeName(m_path.c_str())).path());
        const JsonText before = settings.object;
        applyEdits(m_edits, settings.object);
        if (settings.object == before && !settings.defect)
            return true;

        FileReplacement replacement(m_path, 0600);
        replacement.write(settings.object.toPrettyText());
        replacement.sync();
        if (replacement.error() == 0 && settings.defect && !putAside(replacement.target(), *settings.defect))
            return false;
        return replacement.commit() || fail(replacement.error());
    }

    bool putAside(const std::string &file, const QString &defect)
    {
        const std::string aside = file + ".broken";
        if (rename(file.c_str(), aside.c_str()) != 0)
            return fail(errno);
        m_log.write(QString(QStringLiteral("Defaults: settings can't be parsed (") + defect +
                            QStringLiteral("), put aside as ") + QFile::decodeName(aside.c_str())));
        return true;
    }

    bool fail(int error)
    {
        m_log.write(QString(QStringLiteral("Defaults: failed to write ") + QFile::decodeName(m_path.c_str()) +
                            QStringLiteral(": ") + errorText(error)));
        return false;
    }

    std::string m_path;
    Edits m_edits;
    std::uint64_t m_lastEdit;
    Log &m_log;
    bool m_hasSucceeded { false }; ///< Written before m_isDone, read after it.
    std::atomic<bool> m_isDone { false };
};

} // namespace

class Defaults::Private
{
public:
    Private(Defaults &owner, const QString &path, MainQueue &mainQueue, Log &log)
        : m_owner(owner)
        , m_path(path)
        , m_nativePath(QFile::encodeName(path).toStdString())
        , m_mainQueue(mainQueue)
        , m_log(log)
    {
        QObject::connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_owner, [this] { takeOver(); });
        QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_owner, [this] { takeOver(); });
        watch();
        load();
    }

    [[nodiscard]] const JsonText *find(const QString &key) const
    {
        const std::string name = key.toStdString();
        if (const auto edit = m_edits.find(name); edit != m_edits.end())
            return edit->second.value ? &*edit->second.value : nullptr;
        const auto value = m_values.find(name);
        return value == m_values.end() ? nullptr : &value->second;
    }

    void edit(const QString &key, std::optional<JsonText> value)
    {
        const JsonText *present = find(key);
        if (value ? present && *present == *value : !present)
            return;
        m_edits.insert_or_assign(key.toStdString(), Edit { std::move(value), ++m_lastEdit });
        startWrite();
        Q_EMIT m_owner.changed();
    }

    void flush()
    {
        while (m_write) {
            m_queue.sync([] {});
            finishWrite();
        }
    }

private:
    /// Reads the file again after it, or the folder around it, has changed.
    void takeOver()
    {
        // Watched first: a change that comes while the file is read is told once more.
        watch();
        const Values before = effectiveValues();
        load();
        if (effectiveValues() != before)
            Q_EMIT m_owner.changed();
    }

    void load()
    {
        m_values.clear();
        const Settings settings = readSettings(m_nativePath);
        for (const JsonText::Member &member : settings.object.members())
            m_values.insert_or_assign(member.key, member.value);
    }

    [[nodiscard]] Values effectiveValues() const
    {
        Values values = m_values;
        for (const auto &[key, edit] : m_edits) {
            if (edit.value)
                values.insert_or_assign(key, *edit.value);
            else
                values.erase(key);
        }
        return values;
    }

    /// Watches the file, for a change inside of it, and its folder, for its coming, going and being replaced; as long
    /// as there is no folder, the nearest one above it.
    void watch()
    {
        QString folder = QFileInfo(m_path).absolutePath();
        while (!QFileInfo(folder).isDir() && folder != u"/")
            folder = QFileInfo(folder).absolutePath();
        const QStringList watchedFolders = m_watcher.directories();
        if (watchedFolders != QStringList { folder }) {
            if (!watchedFolders.isEmpty())
                m_watcher.removePaths(watchedFolders);
            m_watcher.addPath(folder);
        }
        // A watch holds on to the file that was there; only a new one sees what took its place.
        struct stat status
        {};
        const bool exists = stat(m_nativePath.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        const auto identity = std::pair(status.st_dev, status.st_ino);
        const QStringList watchedFiles = m_watcher.files();
        if (exists && !watchedFiles.isEmpty() && identity == m_watchedFile)
            return;
        if (!watchedFiles.isEmpty())
            m_watcher.removePaths(watchedFiles);
        m_watchedFile = identity;
        if (exists)
            m_watcher.addPath(m_path);
    }

    /// One write at a time; what is set meanwhile goes with the next.
    void startWrite()
    {
        if (m_write)
            return;
        m_write = std::make_shared<Write>(m_nativePath, m_edits, m_lastEdit, m_log);
        m_queue.async([this, write = m_write, alive = std::weak_ptr(m_alive)] {
            write->run();
            m_mainQueue.post([this, alive] {
                if (!alive.expired())
                    finishWrite();
            });
        });
    }

    void finishWrite()
    {
        if (!m_write || !m_write->isDone())
            return;
        const auto write = std::exchange(m_write, nullptr);
        if (write->hasSucceeded()) {
            // From now on the file has the word for these keys.
            const Values before = effectiveValues();
            std::erase_if(m_edits, [&](const auto &entry) { return entry.second.number <= write->lastEdit(); });
            watch();
            load();
            if (effectiveValues() != before)
                Q_EMIT m_owner.changed();
        }
        // A write that failed is tried again with the next edit, not on and on.
        if (m_lastEdit > write->lastEdit())
            startWrite();
    }

    Defaults &m_owner;
    QString m_path;
    std::string m_nativePath;
    MainQueue &m_mainQueue;
    Log &m_log;
    const std::shared_ptr<const bool> m_alive { std::make_shared<bool>(true) };
    QFileSystemWatcher m_watcher;
    std::pair<dev_t, ino_t> m_watchedFile {};
    Values m_values; ///< The file's, as last read.
    Edits m_edits;
    std::uint64_t m_lastEdit { 0 };
    std::shared_ptr<Write> m_write;                ///< The one that is under way.
    SerialQueue m_queue { "com.vantry.defaults" }; ///< Last: its tasks use all of the above.
};

Defaults::Defaults(const QString &path, MainQueue &mainQueue, Log &log, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(*this, path, mainQueue, log))
{}

Defaults::~Defaults()
{
    // Nobody is to be told any more.
    blockSignals(true);
    d->flush();
}

bool Defaults::boolean(const QString &key, bool fallback) const
{
    const JsonText *value = d->find(key);
    return value ? value->asBoolean().value_or(fallback) : fallback;
}

QString Defaults::string(const QString &key, const QString &fallback) const
{
    return string(key).value_or(fallback);
}

std::optional<QString> Defaults::string(const QString &key) const
{
    const JsonText *value = d->find(key);
    const auto text = value ? value->asString() : std::nullopt;
    return text ? std::optional(QString::fromStdString(*text)) : std::nullopt;
}

void Defaults::setBoolean(const QString &key, bool value)
{
    d->edit(key, JsonText::boolean(value));
}

void Defaults::setString(const QString &key, const QString &value)
{
    d->edit(key, JsonText::string(value.toStdString()));
}

void Defaults::remove(const QString &key)
{
    d->edit(key, std::nullopt);
}

void Defaults::flush()
{
    d->flush();
}

} // namespace vantry
