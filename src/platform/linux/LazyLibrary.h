#pragma once

#include <QLibrary>
#include <QString>

#include <optional>

namespace vantry {

/// A shared library that is loaded by who needs it, and not at all where it isn't installed: most runs of the program
/// need it never. Stays loaded. Any thread, but one at a time.
class LazyLibrary
{
public:
    LazyLibrary(const QString &name, int version)
        : m_library(name, version)
    {
        if (!m_library.load())
            m_problem = m_library.errorString();
    }

    /// Sets the pointer to the function of this name; to null, and tells so, where there is none.
    template <typename Function>
    void find(const char *name, Function *&function)
    {
        function = reinterpret_cast<Function *>(m_library.resolve(name));
        if (!function && !m_problem)
            m_problem = m_library.errorString();
    }

    /// Why the library can't be used, if so.
    [[nodiscard]] const std::optional<QString> &problem() const { return m_problem; }

private:
    QLibrary m_library;
    std::optional<QString> m_problem;
};

} // namespace vantry
