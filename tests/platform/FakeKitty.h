#pragma once

#include "base/FileDescriptor.h"

#include <nlohmann/json.hpp>

#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vantry::test {

/// Listens as kitty does, on a thread of its own, keeps the commands that it gets, and answers as a test says.
class FakeKitty
{
public:
    /// What goes back over the socket; nothing for an empty text. A text that ends in hangUp is the last one.
    using Answer = std::function<std::string(const nlohmann::json &command)>;
    static constexpr std::string_view hangUp = "<hang up>";

    explicit FakeKitty(Answer answer)
        : m_answer(std::move(answer))
    {
        m_listening = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray path = socketPath().toUtf8();
        std::copy(path.cbegin(), path.cend(), address.sun_path);
        EXPECT_EQ(::bind(m_listening.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listening.get(), 5), 0);
        EXPECT_EQ(::pipe2(m_end.data(), O_CLOEXEC), 0);
        m_thread = std::thread([this] { serve(); });
    }
    ~FakeKitty()
    {
        EXPECT_EQ(::write(m_end[1], "x", 1), 1);
        m_thread.join();
        ::close(m_end[0]);
        ::close(m_end[1]);
    }
    FakeKitty(const FakeKitty &) = delete;
    FakeKitty &operator=(const FakeKitty &) = delete;

    /// As kitty puts an answer.
    [[nodiscard]] static std::string framed(const std::string &json) { return "\033P@kitty-cmd" + json + "\033\\"; }
    [[nodiscard]] static std::string framed(const nlohmann::json &json) { return framed(json.dump()); }
    [[nodiscard]] static std::string good(const std::string &data = {})
    {
        return framed(nlohmann::json { { "ok", true }, { "data", data } });
    }
    [[nodiscard]] static std::string bad(const std::string &error)
    {
        return framed(nlohmann::json { { "ok", false }, { "error", error } });
    }
    /// The answer to "ls": one desktop window with one tab that has these windows.
    [[nodiscard]] static std::string listOf(const std::vector<int> &windows,
                                            const nlohmann::json &platformWindow = 4711)
    {
        nlohmann::json list = nlohmann::json::array();
        for (const int id : windows)
            list.push_back({ { "id", id } });
        return good(nlohmann::json::array(
                        { { { "platform_window_id", platformWindow }, { "tabs", { { { "windows", list } } } } } })
                        .dump());
    }

    [[nodiscard]] QString socketPath() const { return m_folder.filePath(QStringLiteral("socket")); }
    [[nodiscard]] QString target(const QString &window) const { return u"unix:" + socketPath() + u',' + window; }

    [[nodiscard]] std::vector<nlohmann::json> commands() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_commands;
    }
    /// The commands' names.
    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const nlohmann::json &command : commands())
            names.push_back(command.at("cmd"));
        return names;
    }

private:
    [[nodiscard]] bool waitFor(int socket) const
    {
        std::array<pollfd, 2> watched { pollfd { socket, POLLIN, 0 }, pollfd { m_end[0], POLLIN, 0 } };
        ::poll(watched.data(), watched.size(), -1);
        return watched[1].revents == 0;
    }
    void serve()
    {
        while (waitFor(m_listening.get())) {
            const FileDescriptor connection(::accept4(m_listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
            converse(connection.get());
        }
    }
    void converse(int connection)
    {
        const std::string prefix = "\033P@kitty-cmd";
        const std::string suffix = "\033\\";
        std::string bytes;
        std::array<char, 4096> block {};
        while (waitFor(connection)) {
            const ssize_t count = ::recv(connection, block.data(), block.size(), 0);
            if (count <= 0)
                return;
            bytes.append(block.data(), static_cast<std::size_t>(count));
            for (auto end = bytes.find(suffix); end != std::string::npos; end = bytes.find(suffix)) {
                EXPECT_TRUE(bytes.starts_with(prefix));
                const auto command =
                    nlohmann::json::parse(bytes.substr(prefix.size(), end - prefix.size()), nullptr, false);
                EXPECT_FALSE(command.is_discarded());
                bytes.erase(0, end + suffix.size());
                if (!answer(connection, command))
                    return;
            }
        }
    }
    [[nodiscard]] bool answer(int connection, const nlohmann::json &command)
    {
        {
            const std::scoped_lock lock(m_mutex);
            m_commands.push_back(command);
        }
        std::string text = m_answer(command);
        const bool isLast = text.ends_with(hangUp);
        if (isLast)
            text.resize(text.size() - hangUp.size());
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t count = ::send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            sent += static_cast<std::size_t>(count);
        }
        return !isLast;
    }

    const Answer m_answer;
    QTemporaryDir m_folder;
    FileDescriptor m_listening;
    std::array<int, 2> m_end { -1, -1 };
    mutable std::mutex m_mutex;
    std::vector<nlohmann::json> m_commands;
    std::thread m_thread;
};

} // namespace vantry::test
