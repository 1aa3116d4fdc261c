#pragma once

#include "base/Clock.h"
#include "base/FileDescriptor.h"

#include <nlohmann/json.hpp>

#include <QString>

#include <sys/socket.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vantry {

/// Where a kitty listens for commands.
class KittyAddress
{
public:
    /// From the form that KITTY_LISTEN_ON has: "unix:/path", "unix:@name", "tcp:host:port", "tcp6:host:port". Nothing
    /// for every other form, and for hosts that aren't this machine.
    [[nodiscard]] static std::optional<KittyAddress> parse(QStringView text);

    [[nodiscard]] int family() const { return m_storage.ss_family; }
    [[nodiscard]] const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&m_storage); }
    [[nodiscard]] socklen_t size() const { return m_size; }

private:
    sockaddr_storage m_storage {};
    socklen_t m_size { 0 };
};

/// Why a kitty did not do what it was asked.
struct KittyFailure
{
    enum class Kind {
        Unreachable, ///< Nobody listens there, or hung up.
        Unanswered,  ///< In the time that there was.
        Disabled,    ///< It lets nobody control it, or only who has a password.
        NoWindow,
        Rejected, ///< For another reason of its own.
    };
    Kind kind { Kind::Unreachable };
    QString text; ///< One line for a person.
};

/// A connection to a kitty's remote control socket: commands as JSON within escape codes, one answer to each but those
/// that get none. Everything that is done over it shares one span of time. Owns the socket. Any thread, one at a time;
/// the caller blocks, until the time is up or its thread's work is cancelled.
class KittyRemote
{
public:
    explicit KittyRemote(std::chrono::milliseconds patience);

    /// Only a socket of this user or of root will do.
    [[nodiscard]] std::optional<KittyFailure> connect(const KittyAddress &address);
    /// Sends a command that gets no answer. An answer to the next ask() tells that it has been carried out.
    [[nodiscard]] std::optional<KittyFailure> tell(std::string_view command, const nlohmann::json &payload);
    /// Sends a command and gives its answer's text, which is empty for many.
    [[nodiscard]] std::variant<std::string, KittyFailure> ask(std::string_view command, const nlohmann::json &payload);

private:
    [[nodiscard]] std::optional<KittyFailure> send(std::string_view command, const nlohmann::json &payload,
                                                   bool wantsAnswer);
    /// One answer's JSON text.
    [[nodiscard]] std::variant<std::string, KittyFailure> receive();
    /// Waits until the socket is ready for this; false when the time is up.
    [[nodiscard]] bool waitFor(short events) const;

    SystemClock m_clock;
    MonotonicTime m_deadline;
    FileDescriptor m_socket;
};

} // namespace vantry
