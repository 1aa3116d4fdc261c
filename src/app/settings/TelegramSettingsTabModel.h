#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vantry {

class TelegramService;

/// What `TelegramSettingsTab` shows and changes. Token and chat are taken over as a whole, since each change of one
/// begins to poll anew: on `commit()`, when something was pasted, and at the latest when this ends. Main thread only.
class TelegramSettingsTabModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

    Q_PROPERTY(Status status READ status NOTIFY serviceChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY serviceChanged)
    /// The opposite of paused.
    Q_PROPERTY(bool notificationsOn READ notificationsOn WRITE setNotificationsOn NOTIFY serviceChanged)
    /// As they stand in their fields.
    Q_PROPERTY(QString botToken READ botToken WRITE setBotToken NOTIFY botTokenChanged)
    Q_PROPERTY(QString chatID READ chatID WRITE setChatID NOTIFY chatIDChanged)
    /// Reserved for a message that is sent on trial; no control shows it.
    Q_PROPERTY(QString telegramTestStatus MEMBER m_telegramTestStatus NOTIFY telegramTestStatusChanged)

public:
    enum Status { NotConfigured, Paused, Running };
    Q_ENUM(Status)

    /// The service must outlive this.
    explicit TelegramSettingsTabModel(TelegramService &telegramService, QObject *parent = nullptr);
    ~TelegramSettingsTabModel() override;

    [[nodiscard]] Status status() const;
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] bool notificationsOn() const;
    void setNotificationsOn(bool isOn);

    [[nodiscard]] const QString &botToken() const { return m_botToken; }
    void setBotToken(const QString &text);
    [[nodiscard]] const QString &chatID() const { return m_chatID; }
    void setChatID(const QString &text);
    /// Has the service take over what stands in the fields, where that is something new.
    Q_INVOKABLE void commit();

Q_SIGNALS:
    void serviceChanged();
    void botTokenChanged();
    void chatIDChanged();
    void telegramTestStatusChanged();

private:
    TelegramService &m_telegramService;
    QString m_botToken;
    QString m_chatID;
    QString m_telegramTestStatus;
};

} // namespace vantry
