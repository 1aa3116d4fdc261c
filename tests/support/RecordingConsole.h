#pragma once

#include "app/control/Console.h"

#include <string>
#include <vector>

namespace vantry::test {

/// Keeps what a command prints. A pipe unless a test says otherwise.
class RecordingConsole final : public Console
{
public:
    bool print(std::string_view text) override
    {
        if (readerHasGone)
            return false;
        output += text;
        return true;
    }
    void printError(std::string_view line) override { errors.emplace_back(line); }
    [[nodiscard]] TextStyle style() const override { return textStyle; }

    bool readerHasGone { false };
    TextStyle textStyle;
    std::string output;
    std::vector<std::string> errors; ///< One line each.
};

} // namespace vantry::test
