#include "hooks/UserFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vantry {
namespace {

constexpr mode_t newJsonMode = 0600;
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
std::optional<FileContent> readWithStatus(const QString &path)
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

JsonText parsed(const QString &path, const std::optional<FileContent> &file)
{
    if (!file)
        return JsonText::object();
    QString error;
    auto value =
        JsonText::parse(std::string_view(file->bytes.constData(), static_cast<size_t>(file->bytes.size())), &error);
    if (!value)
        failFor(path, "not valid JSON (" + error.toStdString() + ")");
    return *std::move(value);
}

bool holdsSame(const std::optional<FileContent> &a, const std::optional<FileContent> &b)
{
    return a.has_value() == b.has_value() && (!a || a->bytes == b->bytes);
}

} // namespace

void makeFolderOf(const QString &path)
{
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder))
        failFor(folder, "The folder could not be created");
}

std::optional<QByteArray> readRegularFile(const QString &path)
{
    auto content = readWithStatus(path);
    return content ? std::optional(std::move(content->bytes)) : std::nullopt;
}

void replaceFile(const QString &path, const QByteArray &bytes, unsigned mode)
{
    Replacement(path, bytes, mode).commit();
}

JsonText readJsonFile(const QString &path)
{
    return parsed(path, readWithStatus(path));
}

bool editJsonFile(const QString &link, const std::function<JsonText(JsonText)> &edit)
{
    const QString path = followLinks(link);
    makeFolderOf(path);
    const auto before = readWithStatus(path);
    const std::string text = edit(parsed(path, before)).toPrettyText();
    const QByteArray after(text.data(), static_cast<qsizetype>(text.size()));
    if (before && before->bytes == after)
        return true;

    Replacement replacement(path, after, before ? before->status.st_mode & 07777 : newJsonMode);
    if (before)
        replacement.tryToGiveTo(before->status);
    if (!holdsSame(before, readWithStatus(path)))
        return false;
    replacement.commit();
    return true;
}

} // namespace vantry
