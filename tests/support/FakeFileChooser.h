#pragma once

#include "platform/FileChooser.h"

#include <utility>

namespace vantry::test {

/// A dialog that a test answers.
class FakeFileChooser final : public FileChooser
{
public:
    void chooseFile(const QString &message, const Filter &filter, Chosen chosen) override
    {
        messages.append(message);
        lastFilter = filter;
        m_chosen = std::move(chosen);
    }
    void cancel() override { m_chosen = {}; }

    [[nodiscard]] bool isOpen() const { return m_chosen != nullptr; }
    /// The user chooses a file, or cancels.
    void answer(const std::optional<QString> &path) { std::exchange(m_chosen, {})(path); }

    QStringList messages; ///< Of all dialogs that there were.
    Filter lastFilter;

private:
    Chosen m_chosen;
};

} // namespace vantry::test
