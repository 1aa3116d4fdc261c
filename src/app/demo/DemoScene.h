#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <variant>
#include <vector>

namespace vantry {

/// What an invented agent does, in its order. Plain values.
namespace demo {

/// The user asks for something.
struct Prompt
{
    QString text;
};
/// The agent writes something.
struct Reply
{
    QString text;
};
/// The agent uses a tool that needs no permission.
struct ToolCall
{
    QString tool;
    QString key; ///< Of the one input that counts: "command", "file_path" …
    QString value;
};
/// The agent asks for a permission and waits.
struct AskPermission
{
    ToolCall call;
    bool suggestsRule { false };
};
/// The agent asks a question with a single choice and waits.
struct AskQuestion
{
    QString question;
    QStringList options;
};
/// The agent's turn ends; what the user types from then on is the next prompt.
struct EndTurn
{};

struct Step
{
    std::chrono::milliseconds after; ///< Since the step before was done.
    std::variant<Prompt, Reply, ToolCall, AskPermission, AskQuestion, EndTurn> what;
};

/// One invented agent: its project, and what it does again and again.
struct Scene
{
    QString project;
    QString branch;
    int linesAdded { 0 }; ///< Against its last commit.
    int linesRemoved { 0 };
    int contextUsed { 20 }; ///< Per cent at the beginning.
    std::vector<Step> steps {};
    std::chrono::seconds rest { 60 }; ///< Between the last step and the first one, again.
};

/// A conversation of the past, for the search and for the list of projects.
struct Memory
{
    QString project;
    std::chrono::hours ago;
    QString prompt;
    QString reply;
};

[[nodiscard]] std::vector<Scene> scenes();
/// What an agent does that was started from the panel.
[[nodiscard]] Scene launchedScene(const QString &project);
/// What any agent answers to a prompt that was typed.
[[nodiscard]] std::vector<Step> stepsForPrompt();
[[nodiscard]] std::vector<Memory> memories();

} // namespace demo

} // namespace vantry
