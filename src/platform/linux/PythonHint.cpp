#include "platform/linux/PythonHint.h"

#include "base/Files.h"

#include <QStringList>

#include <array>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

struct Family
{
    QLatin1StringView distribution; ///< Its ID in os-release; those that are made from it name it there as well.
    QLatin1StringView command;
};

constexpr std::array families {
    Family { "debian"_L1, "sudo apt install python3"_L1 },      Family { "ubuntu"_L1, "sudo apt install python3"_L1 },
    Family { "fedora"_L1, "sudo dnf install python3"_L1 },      Family { "rhel"_L1, "sudo dnf install python3"_L1 },
    Family { "centos"_L1, "sudo dnf install python3"_L1 },      Family { "arch"_L1, "sudo pacman -S python"_L1 },
    Family { "opensuse"_L1, "sudo zypper install python3"_L1 }, Family { "suse"_L1, "sudo zypper install python3"_L1 },
    Family { "sles"_L1, "sudo zypper install python3"_L1 },     Family { "alpine"_L1, "sudo apk add python3"_L1 },
};

/// The words of a variable; a later line wins over an earlier one, as in a shell.
QStringList wordsOf(QStringView name, const QStringList &lines)
{
    QString value;
    for (const QString &line : lines) {
        if (line.startsWith(name) && line.size() > name.size() && line.at(name.size()) == u'=')
            value = line.sliced(name.size() + 1).trimmed();
    }
    return value.remove(u'"').remove(u'\'').split(u' ', Qt::SkipEmptyParts);
}

} // namespace

QString pythonHint()
{
    for (const char *path : { "/etc/os-release", "/usr/lib/os-release" }) {
        if (const auto content = readRegularFile(path).bytes)
            return pythonHint(*content);
    }
    return pythonHint(std::string_view());
}

QString pythonHint(std::string_view osRelease)
{
    const QString text = QString::fromUtf8(osRelease.data(), static_cast<qsizetype>(osRelease.size()));
    const QStringList lines = text.split(u'\n');
    const QStringList distributions = wordsOf(u"ID", lines) + wordsOf(u"ID_LIKE", lines);
    for (const QString &distribution : distributions) {
        for (const Family &family : families) {
            if (distribution.section(u'-', 0, 0) == family.distribution)
                return family.command;
        }
    }
    return u"python3"_s;
}

} // namespace vantry
