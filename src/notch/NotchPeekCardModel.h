#pragma once

#include "panels/SessionCallbacks.h"
#include "sessions/VantrySession.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace vantry {

/// What the peek card shows of its session, live: a card can outlive its reason, and then offers no answer any more.
/// Owned by NotchController and by the panel that shows it. Main thread only.
class NotchPeekCardModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QString accessibleText READ accessibleText NOTIFY changed)
    /// Whether the card offers to allow what the session asks for.
    Q_PROPERTY(bool canAllow READ canAllow NOTIFY changed)

public:
    /// `heldRequestID` is SessionCallbacks' one.
    NotchPeekCardModel(SessionPtr session, std::function<QString(const SessionPtr &)> heldRequestID);

    [[nodiscard]] const SessionPtr &session() const { return m_session; }
    [[nodiscard]] const QString &symbol() const { return m_facts.symbol; }
    [[nodiscard]] const QString &name() const { return m_facts.name; }
    [[nodiscard]] const QString &status() const { return m_facts.status; }
    [[nodiscard]] QString accessibleText() const;
    [[nodiscard]] bool canAllow() const { return m_facts.canAllow; }
    /// Tells the request that the card shows from others; empty when it offers none.
    [[nodiscard]] const QString &request() const { return m_facts.request; }
    /// The same of the one that Allow would answer now.
    [[nodiscard]] QString currentRequest() const { return currentFacts().request; }

    /// Reads the session and its held requests again.
    void refresh();

    Q_INVOKABLE void tap();
    Q_INVOKABLE void allow();

    // What the user's acts do. Called while the card handles the user's input: it must not go before that is over.
    std::function<void()> onTap;
    std::function<void()> onAllow;

Q_SIGNALS:
    void changed();

private:
    struct Facts
    {
        QString symbol {};
        QString name {};
        QString status {};
        bool canAllow { false };
        QString request {};

        friend bool operator==(const Facts &, const Facts &) = default;
    };

    [[nodiscard]] Facts currentFacts() const;

    const SessionPtr m_session;
    const std::function<QString(const SessionPtr &)> m_heldRequestID;
    Facts m_facts;
};

} // namespace vantry
