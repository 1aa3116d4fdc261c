#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace vantry {

/// A pane of a tmux server, as a target's identifier names it: "/tmp/tmux-1000/default,%3". The socket's path may hold
/// commas.
struct TmuxPane
{
    QString socket; ///< An absolute path.
    QString pane;   ///< "%3"

    /// Nothing for an identifier of any other form.
    [[nodiscard]] static std::optional<TmuxPane> parse(const QString &identifier);
    friend bool operator==(const TmuxPane &, const TmuxPane &) = default;
};

/// Has one tmux server carry out commands, through the tmux program. Never starts a server, and talks to none of
/// another user. Any thread but the main thread: the caller waits.
class TmuxRemote
{
public:
    /// How long the server may take to answer.
    static constexpr std::chrono::milliseconds usualPatience { 2'000 };

    explicit TmuxRemote(QString socket, std::chrono::milliseconds patience = usualPatience);

    /// A command's name and its arguments, which arrive as they are.
    using Command = QStringList;

    struct Reply
    {
        std::optional<QString> failure; ///< One line for a person. Commands behind the one that failed were not done.
        QStringList lines {};           ///< What the commands printed.
    };

    /// Carries the commands out one after the other. The directory is what a new window starts in.
    [[nodiscard]] Reply run(const QList<Command> &commands, const QString &directory = {}) const;

    /// The tmux program's path; empty when there is none.
    [[nodiscard]] static QString program();

private:
    [[nodiscard]] std::optional<QString> refusal() const;

    QString m_socket;
    std::chrono::milliseconds m_patience;
};

} // namespace vantry
