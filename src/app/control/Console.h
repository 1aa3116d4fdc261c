#pragma once

#include <string_view>

namespace vantry {

/// The exit codes of every command. They are a promise to scripts.
namespace exitCode {
inline constexpr int done = 0;
inline constexpr int refused = 1; ///< Or not found.
inline constexpr int usage = 2;
inline constexpr int notRunning = 3;
} // namespace exitCode

/// How text for people is to look.
struct TextStyle
{
    bool isColoured { false };
    int width { 0 }; ///< Columns of the terminal; 0: not a terminal, nothing is cut.

    [[nodiscard]] bool isTerminal() const { return width > 0; }
};

/// Where a command prints. Main thread only.
class Console
{
public:
    virtual ~Console() = default;

    /// Data, on standard output, flushed. False when nobody reads it any more: the command may stop then.
    virtual bool print(std::string_view text) = 0;
    /// One line of one error, on standard error. The line's end and the program's name are added; control characters
    /// are escaped.
    virtual void printError(std::string_view line) = 0;
    [[nodiscard]] virtual TextStyle style() const = 0;
};

/// The process's own standard output and error.
class StandardConsole final : public Console
{
public:
    /// Reads TERM, NO_COLOR and the terminal's width.
    StandardConsole();

    bool print(std::string_view text) override;
    void printError(std::string_view line) override;
    /// The terminal's width is read anew: it may have changed.
    [[nodiscard]] TextStyle style() const override;

    /// Whether data was lost for another reason than that its reader has gone; one error line has been printed then.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

private:
    bool m_isTerminal;
    bool m_isColoured;
    bool m_hasFailed { false };
};

} // namespace vantry
