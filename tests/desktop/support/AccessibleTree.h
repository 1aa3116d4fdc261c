#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <optional>
#include <vector>

namespace vantry::test {

/// What assistive programs see on a desktop, over the accessibility bus, which is started when it isn't there yet.
/// Calls wait for their answers.
class AccessibleTree
{
public:
    /// The protocol's numbers (AtspiRole).
    enum Role : uint {
        CheckBox = 7,
        List = 31,
        ListItem = 32,
        PageTab = 37,
        PasswordText = 40,
        PushButton = 43,
        RadioButton = 44
    };

    struct Object
    {
        QString program; ///< Its name on the accessibility bus.
        QString path;
    };

    explicit AccessibleTree(const QString &sessionBusAddress);
    ~AccessibleTree();
    AccessibleTree(const AccessibleTree &) = delete;
    AccessibleTree &operator=(const AccessibleTree &) = delete;

    /// The first one with this role whose name begins so, in the order of the tree.
    [[nodiscard]] std::optional<Object> find(Role role, const QString &name) const;
    [[nodiscard]] std::optional<Object> findIn(const Object &parent, Role role, const QString &name) const;
    [[nodiscard]] bool hasFocus(const Object &object) const;
    /// As a screen reader does for its user. Whether the program took it.
    [[nodiscard]] bool press(const Object &object) const;
    /// The same for what can be checked: some screen readers toggle it.
    [[nodiscard]] bool toggle(const Object &object) const;

private:
    [[nodiscard]] bool act(const Object &object, const QString &wanted) const;
    [[nodiscard]] QDBusMessage call(const Object &object, const QString &interface, const QString &method,
                                    const QVariantList &arguments = {}) const;
    [[nodiscard]] std::vector<Object> childrenOf(const Object &object) const;
    [[nodiscard]] QString nameOf(const Object &object) const;
    [[nodiscard]] uint roleOf(const Object &object) const;

    QDBusConnection m_bus;
};

} // namespace vantry::test
