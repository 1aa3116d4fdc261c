#include "hooks/HookInstaller.h"

#include "base/JsonText.h"
#include "hooks/HookSettings.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

/// A static library's resources are linked only when they are asked for. The macro does not work in a namespace.
static void linkResources()
{
    Q_INIT_RESOURCE(vantry_hook);
}

namespace vantry {
namespace {

constexpr mode_t scriptMode = 0755;
constexpr mode_t newSettingsMode = 0600;
constexpr int maximumLinks = 40;

[[noreturn]] void failFor(const QString &path, const std::string &reason)
{
    throw std::runtime_error(path.toStdString() + ": " + reason);
}

[[noreturn]] void failForErrno(const QString &path, int error)
{
    failFor(path, std::generic_category().message(error));
}

class Descriptor
{
public:
    explicit Descriptor(int value)
        : m_value(value)
    {}
    ~Descriptor()
    {
        if (m_value >= 0)
            ::close(m_value);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] int get() const { return m_value; }

private:
    int m_value;
};

struct FileContent
{
    QByteArray bytes;
    struct stat status
    {};
};

/// Nothing when there is no such file. Throws for every other failure, so that nothing is written over a file that
/// merely can't be read. Opened without blocking: the path may name a pipe.
std::optional<FileContent> readRegularFile(const QString &path)
{
    const Descriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.get() < 0) {
        if (errno == ENOENT)
            return std::nullopt;
        failForErrno(path, errno);
    }
    FileContent content;
    if (::fstat(file.get(), &content.status) != 0)
        failForErrno(path, errno);
    if (!S_ISREG(content.status.st_mode))
        failFor(path, "not a regular file");

    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count > 0)
            content.bytes.append(buffer, static_cast<qsizetype>(count));
        else if (count == 0)
            return content;
        else if (errno != EINTR)
            failForErrno(path, errno);
    }
}

void makeFolderOf(const QString &path)
{
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder))
        failFor(folder, "The folder could not be created");
}

/// The file that the path names when its own symbolic links are followed, whether it exists or not.
QString followLinks(const QString &path)
{
    std::filesystem::path file(QFile::encodeName(path).toStdString());
    std::error_code ignored;
    for (int links = 0; links < maximumLinks; ++links) {
        if (!std::filesystem::is_symlink(std::filesystem::symlink_status(file, ignored)))
            return QFile::decodeName(file.c_str());
        file = file.parent_path() / std::filesystem::read_symlink(file, ignored);
    }
    failForErrno(path, ELOOP);
}

/// A file that is written beside its destination and takes its place at once and whole. Removed when it didn't.
class Replacement
{
public:
    Replacement(QString destination, const QByteArray &bytes, mode_t mode)
        : m_destination(std::move(destination))
    {
        m_path = QFile::encodeName(m_destination) + ".XXXXXX";
        const Descriptor file(::mkostemp(m_path.data(), O_CLOEXEC));
        if (file.get() < 0)
            failForErrno(m_destination, errno);
        m_exists = true;
        try {
            write(file.get(), bytes);
            if (::fchmod(file.get(), mode) != 0 || ::fsync(file.get()) != 0)
                failForErrno(m_destination, errno);
        } catch (...) {
            discard();
            throw;
        }
    }
    ~Replacement() { discard(); }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    /// For who installs as root; failing is of no account.
    void tryToGiveTo(const struct stat &status) const
    {
        if (status.st_uid == ::geteuid() && status.st_gid == ::getegid())
            return;
        if (::chown(m_path.constData(), status.st_uid, status.st_gid) == 0)
            ::chmod(m_path.constData(), status.st_mode & 07777);
    }

    void commit()
    {
        if (::rename(m_path.constData(), QFile::encodeName(m_destination).constData()) != 0)
            failForErrno(m_destination, errno);
        m_exists = false;
    }

private:
    void write(int file, const QByteArray &bytes) const
    {
        qsizetype written = 0;
        while (written < bytes.size()) {
            const ssize_t count =
                ::write(file, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
            if (count >= 0)
                written += count;
            else if (errno != EINTR)
                failForErrno(m_destination, errno);
        }
    }

    void discard()
    {
        if (m_exists)
            ::unlink(m_path.constData());
        m_exists = false;
    }

    QString m_destination;
    QByteArray m_path;
    bool m_exists { false };
};

JsonText parsedSettings(const QString &path, const std::optional<FileContent> &file)
{
    if (!file)
        return JsonText::object();
    QString error;
    auto settings =
        JsonText::parse(std::string_view(file->bytes.constData(), static_cast<size_t>(file->bytes.size())), &error);
    if (!settings)
        failFor(path, "not valid JSON (" + error.toStdString() + ")");
    return *std::move(settings);
}

bool holdsSame(const std::optional<FileContent> &a, const std::optional<FileContent> &b)
{
    return a.has_value() == b.has_value() && (!a || a->bytes == b->bytes);
}

/// Merges our hook into the file. False when the file was changed by somebody else meanwhile; then it is as they left
/// it.
bool mergeIntoFile(const QString &path, const std::string &command)
{
    const auto before = readRegularFile(path);
    const std::string text = settingsWithHook(parsedSettings(path, before), command).toPrettyText();
    const QByteArray after(text.data(), static_cast<qsizetype>(text.size()));
    if (before && before->bytes == after)
        return true;

    Replacement replacement(path, after, before ? before->status.st_mode & 07777 : newSettingsMode);
    if (before)
        replacement.tryToGiveTo(before->status);
    if (!holdsSame(before, readRegularFile(path)))
        return false;
    replacement.commit();
    return true;
}

std::optional<QByteArray> readResource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

} // namespace

HookInstallerError::HookInstallerError(Case reason)
    : std::runtime_error("Hook script not found in app bundle. Try reinstalling the app.")
    , m_case(reason)
{}

HookInstaller::HookInstaller(QString home, QString scriptSource)
    : m_home(std::move(home))
    , m_scriptSource(std::move(scriptSource))
{
    linkResources();
}

QString HookInstaller::scriptPath() const
{
    return m_home + QStringLiteral("/.claude/hooks/vantry_hook.py");
}

QString HookInstaller::settingsPath() const
{
    return m_home + QStringLiteral("/.claude/settings.json");
}

QString HookInstaller::install(std::uint16_t port) const
{
    try {
        installScript();
        updateSettings(port);
        return QStringLiteral("Hook installed. Restart Claude Code sessions to activate.");
    } catch (const std::exception &error) {
        return QStringLiteral("Install failed: ") + QString::fromUtf8(error.what());
    }
}

void HookInstaller::installScript() const
{
    makeFolderOf(scriptPath());
    const auto script = readResource(m_scriptSource);
    if (!script)
        throw HookInstallerError(HookInstallerError::Case::scriptNotFound);
    // The script is there at every moment: an agent takes the failure of a hook that is missing as a veto.
    Replacement(scriptPath(), *script, scriptMode).commit();
}

void HookInstaller::updateSettings(std::uint16_t port) const
{
    makeFolderOf(settingsPath());
    const QString path = followLinks(settingsPath());
    makeFolderOf(path);
    const std::string command = "python3 " + scriptPath().toStdString() + " --port " + std::to_string(port);
    if (!mergeIntoFile(path, command) && !mergeIntoFile(path, command))
        failFor(path, "The file was changed by another program at the same time. Try again.");
}

bool HookInstaller::isInstalled() const
{
    if (!QFileInfo::exists(scriptPath()))
        return false;
    try {
        const auto file = readRegularFile(settingsPath());
        return file && settingsNameHook(parsedSettings(settingsPath(), file));
    } catch (const std::exception &) {
        return false;
    }
}

bool HookInstaller::isCurrent() const
{
    try {
        const auto installed = readRegularFile(scriptPath());
        const auto delivered = readResource(m_scriptSource);
        return installed && delivered && installed->bytes == *delivered;
    } catch (const std::exception &) {
        return false;
    }
}

} // namespace vantry
