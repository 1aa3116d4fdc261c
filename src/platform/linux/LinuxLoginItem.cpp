#include "platform/linux/LinuxLoginItem.h"

#include "base/DesktopEntry.h"
#include "base/Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t entryMode = 0644;

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// The text as a string value of an entry.
QString escaped(QString text)
{
    return text.replace(u'\\', u"\\\\"_s).replace(u'\n', u"\\n"_s).replace(u'\r', u"\\r"_s).replace(u'\t', u"\\t"_s);
}

} // namespace

LinuxLoginItem::LinuxLoginItem(QString file, QString program)
    : m_file(std::move(file))
    , m_program(std::move(program))
{}

LinuxLoginItem::~LinuxLoginItem() = default;

bool LinuxLoginItem::isEnabled() const
{
    const FileContent content = readRegularFile(QFile::encodeName(m_file).toStdString());
    if (!content.bytes)
        return false;
    const DesktopEntry entry(*content.bytes);
    return !entry.isSwitchedOff() && !entry.program().isEmpty();
}

std::optional<QString> LinuxLoginItem::setEnabled(bool isEnabled)
{
    if (!isEnabled) {
        if (::unlink(QFile::encodeName(m_file).constData()) == 0 || errno == ENOENT)
            return std::nullopt;
        return errorText(errno);
    }
    if (!QDir().mkpath(QFileInfo(m_file).path()))
        return u"its folder can't be made"_s;
    const QString entry = u"[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Vantry\n"
                          "Comment=See what your coding agents are doing, and answer them\n"
                          "Exec="_s +
                          execValue(m_program) +
                          u"\n"
                          "Icon=com.vantry.app\n"
                          "Terminal=false\n"
                          "StartupNotify=false\n"
                          "X-GNOME-Autostart-enabled=true\n"_s;
    FileReplacement file(QFile::encodeName(m_file).toStdString(), entryMode);
    file.write(entry.toStdString());
    file.sync();
    if (file.commit())
        return std::nullopt;
    return errorText(file.error());
}

void LinuxLoginItem::setOnChanged(std::function<void()> changed)
{
    m_changed = std::move(changed);
    m_watcher.reset();
    if (!m_changed)
        return;
    m_watcher = std::make_unique<QFileSystemWatcher>();
    const auto tell = [this] {
        watch();
        m_changed();
    };
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, m_watcher.get(), tell);
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::fileChanged, m_watcher.get(), tell);
    watch();
}

/// The file tells of changes in place, its folder of all others; one that isn't there yet comes in the folder above.
void LinuxLoginItem::watch()
{
    const QString folder = QFileInfo(m_file).path();
    const QString above = QFileInfo(folder).path();
    for (const QString &path : { m_file, folder, QFileInfo::exists(folder) ? QString() : above }) {
        if (!path.isEmpty() && QFileInfo::exists(path))
            m_watcher->addPath(path);
    }
}

QString LinuxLoginItem::execValue(const QString &program)
{
    QString quoted = u"\""_s;
    for (const QChar character : program) {
        if (u"\"`$\\"_s.contains(character))
            quoted += u'\\';
        if (character == u'%')
            quoted += u'%';
        quoted += character;
    }
    return escaped(quoted + u'"');
}

} // namespace vantry
