#pragma once

#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// Whether a program that is needed is on the machine, as far as this is known.
class DependencyStatus
{
    Q_GADGET
    QML_VALUE_TYPE(dependencyStatus)
    Q_PROPERTY(bool isFound READ isFound)
    Q_PROPERTY(bool isChecking READ isChecking)
    Q_PROPERTY(bool isMissing READ isMissing)
    Q_PROPERTY(QString path READ path)

public:
    DependencyStatus() = default;
    [[nodiscard]] static DependencyStatus unchecked() { return {}; }
    [[nodiscard]] static DependencyStatus checking() { return { Case::checking, {} }; }
    [[nodiscard]] static DependencyStatus notFound() { return { Case::notFound, {} }; }
    [[nodiscard]] static DependencyStatus found(const QString &path) { return { Case::found, path }; }

    [[nodiscard]] bool isFound() const { return m_case == Case::found; }
    [[nodiscard]] bool isChecking() const { return m_case == Case::checking; }
    [[nodiscard]] bool isMissing() const { return m_case == Case::notFound; }
    /// Where it was found; else empty.
    [[nodiscard]] const QString &path() const { return m_path; }

    friend bool operator==(const DependencyStatus &, const DependencyStatus &) = default;

private:
    enum class Case { found, unchecked, checking, notFound };

    DependencyStatus(Case status, const QString &path)
        : m_case(status)
        , m_path(path)
    {}

    Case m_case { Case::unchecked };
    QString m_path;
};

} // namespace vantry
