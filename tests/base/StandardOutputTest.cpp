#include "base/StandardOutput.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>

#include <fcntl.h>
#include <unistd.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

/// Standard output, led into a pipe.
class StandardOutput : public ::testing::Test
{
protected:
    StandardOutput()
    {
        EXPECT_EQ(::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK), 0);
        EXPECT_GE(::dup2(m_pipe[1], STDOUT_FILENO), 0);
    }
    ~StandardOutput() override
    {
        ::dup2(m_before, STDOUT_FILENO);
        for (const int descriptor : { m_before, m_pipe[0], m_pipe[1] })
            ::close(descriptor);
    }
    StandardOutput(const StandardOutput &) = delete;
    StandardOutput &operator=(const StandardOutput &) = delete;

    /// What has been printed since the last call.
    [[nodiscard]] QByteArray printed() const
    {
        QByteArray bytes(2 * PIPE_BUF, 0);
        bytes.resize(std::max<ssize_t>(0, ::read(m_pipe[0], bytes.data(), static_cast<std::size_t>(bytes.size()))));
        return bytes;
    }
    /// Until the pipe takes no more.
    void fill() const
    {
        const std::array<char, PIPE_BUF> bytes {};
        while (::write(m_pipe[1], bytes.data(), bytes.size()) > 0) {
        }
    }

private:
    const int m_before { ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3) };
    std::array<int, 2> m_pipe {};
};

TEST_F(StandardOutput, getsOneLine)
{
    printLine(u"Grüße,\n\tWelt"_s);

    EXPECT_EQ(printed(), "Grüße,\\n\\tWelt\n");
}

TEST_F(StandardOutput, getsWhatAPipeTakesAtOnce)
{
    printLine(QString(PIPE_BUF - 1, u'x'));
    EXPECT_EQ(printed(), QByteArray(PIPE_BUF - 1, 'x') + '\n');

    printLine(QString(100'000, u'x'));
    EXPECT_EQ(printed(), QByteArray(PIPE_BUF - 1, 'x') + '\n');
}

TEST_F(StandardOutput, isCutBetweenCharacters)
{
    for (const QString &character : { u"ü"_s, u"€"_s, u"😀"_s }) {
        for (qsizetype shift = 0; shift < 4; ++shift) {
            const QString line = QString(shift, u'x') + character.repeated(PIPE_BUF);

            printLine(line);

            const QByteArray text = printed();
            EXPECT_GT(text.size(), PIPE_BUF - 4);
            EXPECT_LE(text.size(), PIPE_BUF);
            EXPECT_TRUE(line.startsWith(QString::fromUtf8(text.chopped(1)))) << character.toStdString() << shift;
        }
    }
}

TEST_F(StandardOutput, isNotWaitedFor)
{
    fill();

    printLine(u"lost"_s);
}

} // namespace
} // namespace vantry
