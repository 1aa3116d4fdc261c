#include "RunProgram.h"

#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using ::testing::IsSupersetOf;
using ::testing::SizeIs;

/// An installation in a place that the build didn't know of.
class Installed
{
public:
    Installed()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DESTDIR", m_scratch.path());
        const ProgramResult result =
            runProgram(VANTRY_CMAKE, { "--install", VANTRY_BUILD, "--prefix", "/opt/elsewhere" }, {}, environment);
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }

    [[nodiscard]] QString path(const QString &name) const { return m_scratch.filePath("opt/elsewhere/" + name); }

    /// All files, as paths from the prefix.
    [[nodiscard]] QStringList files() const
    {
        QStringList names;
        QDirIterator iterator(m_scratch.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (iterator.hasNext())
            names.append(iterator.next().sliced(path({}).size()));
        names.sort();
        return names;
    }

    /// Runs the installed program in a home of its own, without a bus or a display.
    [[nodiscard]] ProgramResult run(const QStringList &arguments) const
    {
        QProcessEnvironment environment;
        for (const char *name : { "PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS" })
            environment.insert(name, qEnvironmentVariable(name));
        environment.insert("HOME", m_home.path());
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        return runProgram(path("bin/vantry"), arguments, {}, environment);
    }

private:
    QTemporaryDir m_scratch;
    QTemporaryDir m_home;
};

bool isProgram(const QString &file)
{
    return file.startsWith("bin/") || file.startsWith("libexec/");
}

TEST(Installation, bringsAllThatBelongsToTheProgram)
{
    const Installed installed;

    const QStringList files = installed.files();

    QStringList expected { "bin/vantry",
                           "libexec/vantry/vantry-sound",
                           "libexec/vantry/vantry-speech",
                           "share/applications/com.vantry.app.desktop",
                           "share/bash-completion/completions/vantry",
                           "share/fish/vendor_completions.d/vantry.fish",
                           "share/icons/hicolor/scalable/apps/com.vantry.app.svg",
                           "share/icons/hicolor/symbolic/apps/com.vantry.app-symbolic.svg",
                           "share/man/man1/vantry.1.gz",
                           "share/metainfo/com.vantry.app.metainfo.xml",
                           "share/zsh/site-functions/_vantry" };
    for (const char *size : { "16", "22", "24", "32", "48", "64", "128", "256", "512" })
        expected.append(QString("share/icons/hicolor/%1x%1/apps/com.vantry.app.png").arg(size));
    EXPECT_THAT(files, IsSupersetOf(expected));
    EXPECT_THAT(files.filter("share/vantry/sounds/"), SizeIs(14));
    EXPECT_EQ(files.size(), expected.size() + 14) << files.join(' ').toStdString();
    for (const QString &file : files) {
        const auto mode = QFile::permissions(installed.path(file));
        EXPECT_TRUE(mode.testFlags(QFile::ReadOther)) << file.toStdString();
        EXPECT_FALSE(mode.testAnyFlags(QFile::WriteGroup | QFile::WriteOther)) << file.toStdString();
        EXPECT_EQ(mode.testFlag(QFile::ExeOther), isProgram(file)) << file.toStdString();
    }
}

TEST(Installation, findsItsPartsWhereverItIs)
{
    const Installed installed;

    const ProgramResult version = installed.run({ "--version" });
    const ProgramResult doctor = installed.run({ "doctor" });

    EXPECT_EQ(version.out, "vantry " VANTRY_VERSION "\n");
    EXPECT_TRUE(doctor.out.contains("sound")) << doctor.out.toStdString();
    EXPECT_FALSE(doctor.out.contains("can't be started")) << doctor.out.toStdString();
}

TEST(Installation, drawsTheIconInItsSizes)
{
    for (const int size : { 16, 22, 24, 32, 48, 64, 128, 256, 512 }) {
        const QImage icon(QString(VANTRY_MADE "/icons/%1x%1/com.vantry.app.png").arg(size));
        ASSERT_EQ(icon.size(), QSize(size, size));
        EXPECT_EQ(qAlpha(icon.pixel(0, 0)), 0);
        EXPECT_EQ(qAlpha(icon.pixel(size / 2, size / 2)), 255);
    }
}

TEST(Installation, describesItselfAsDesktopsExpect)
{
    const ProgramResult entry = runProgram("desktop-file-validate", { VANTRY_PACKAGING "/com.vantry.app.desktop" });
    EXPECT_EQ(entry.exitCode, 0);
    EXPECT_EQ(entry.out, "");

    const ProgramResult metadata = runProgram(
        "appstreamcli", { "validate", "--pedantic", "--no-net", VANTRY_MADE "/com.vantry.app.metainfo.xml" });
    EXPECT_EQ(metadata.exitCode, 0) << metadata.out.toStdString();
}

} // namespace
} // namespace vantry::test
