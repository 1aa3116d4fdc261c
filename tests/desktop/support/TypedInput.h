#pragma once

#include "program/Eventually.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

namespace vantry::test {

/// A program that runs in a terminal under test: keeps what is typed into it, byte by byte, and the environment that it
/// was given. Owns no process.
class TypedInput
{
public:
    /// The folder is the program's own; it is made.
    explicit TypedInput(QString folder)
        : m_folder(std::move(folder))
    {
        EXPECT_TRUE(QDir().mkpath(m_folder));
    }

    /// What the terminal is to run.
    [[nodiscard]] QStringList command() const
    {
        const QString script = QStringLiteral("env -0 > \"$0/environment.new\"; stty raw -echo; : > \"$0/typed\"; "
                                              "mv \"$0/environment.new\" \"$0/environment\"; exec cat > \"$0/typed\"");
        return { QStringLiteral("sh"), QStringLiteral("-c"), script, m_folder };
    }

    /// Waits until the program runs and takes what is typed.
    [[nodiscard]] bool waitUntilReady() const
    {
        return eventually([this] { return QFile::exists(m_folder + u"/environment"); }, std::chrono::seconds(60));
    }
    /// A variable's value; empty when there is none.
    [[nodiscard]] QString variable(const QString &name) const
    {
        EXPECT_TRUE(waitUntilReady()) << "the terminal did not start its program";
        const QByteArray wanted = name.toUtf8() + '=';
        for (const QByteArray &line : contents(QStringLiteral("environment")).split('\0')) {
            if (line.startsWith(wanted))
                return QString::fromUtf8(line.sliced(wanted.size()));
        }
        return {};
    }
    [[nodiscard]] QByteArray typed() const { return contents(QStringLiteral("typed")); }
    /// Waits until at least so many bytes have been typed.
    [[nodiscard]] QByteArray waitForBytes(qsizetype count) const
    {
        static_cast<void>(eventually([&] { return typed().size() >= count; }));
        return typed();
    }

private:
    [[nodiscard]] QByteArray contents(const QString &name) const
    {
        QFile file(m_folder + u'/' + name);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    QString m_folder;
};

/// Texts that a terminal, a shell or a driver could take for something else.
inline QStringList awkwardTexts()
{
    return { QStringLiteral("plain words"),
             QStringLiteral("-l --leading dashes"),
             QStringLiteral("\"double\" 'single' `back` quotes"),
             QStringLiteral("$(touch x) ${HOME} $HOME ~ * ? !!"),
             QStringLiteral("back\\slash \\n \\e[A \\\\"),
             QStringLiteral("semicolon; ;; &&|| #"),
             QStringLiteral(";"),
             QStringLiteral("Enter"),
             QStringLiteral("{Enter} C-c ^C %1 %%"),
             QStringLiteral("text: base64: id:1"),
             QStringLiteral("äöü € 日本語 e\u0301 \u00a0 😀 👨‍👩‍👧"),
             QStringLiteral("  blanks at both ends  ") };
}

} // namespace vantry::test
