#include "app/settings/TelegramSettingsTabModel.h"

#include "base/Text.h"
#include "telegram/TelegramService.h"

#include <algorithm>
#include <utility>

namespace vantry {

namespace {

/// Whether more came into the text at once than a key brings.
bool isPasted(const QString &before, const QString &after)
{
    const qsizetype shorter = std::min(before.size(), after.size());
    qsizetype begin = 0;
    while (begin < shorter && before.at(begin) == after.at(begin))
        ++begin;
    qsizetype end = 0;
    while (end < shorter - begin && before.at(before.size() - 1 - end) == after.at(after.size() - 1 - end))
        ++end;
    return after.size() - begin - end > 1;
}

} // namespace

TelegramSettingsTabModel::TelegramSettingsTabModel(TelegramService &telegramService, QObject *parent)
    : QObject(parent)
    , m_telegramService(telegramService)
    , m_botToken(telegramService.botToken())
    , m_chatID(telegramService.chatID())
{
    connect(&m_telegramService, &TelegramService::changed, this, &TelegramSettingsTabModel::serviceChanged);
}

TelegramSettingsTabModel::~TelegramSettingsTabModel()
{
    m_telegramService.disconnect(this);
    commit();
}

TelegramSettingsTabModel::Status TelegramSettingsTabModel::status() const
{
    if (m_telegramService.isPolling())
        return Running;
    return m_telegramService.isConfigured() ? Paused : NotConfigured;
}

QString TelegramSettingsTabModel::statusText() const
{
    switch (status()) {
    case Running:
        return tr("Running");
    case Paused:
        return tr("Paused");
    case NotConfigured:
        break;
    }
    return tr("Not configured");
}

bool TelegramSettingsTabModel::notificationsOn() const
{
    return !m_telegramService.isPaused();
}

void TelegramSettingsTabModel::setNotificationsOn(bool isOn)
{
    m_telegramService.setPaused(!isOn);
}

void TelegramSettingsTabModel::setBotToken(const QString &text)
{
    const QString before = std::exchange(m_botToken, text);
    if (before == text)
        return;
    Q_EMIT botTokenChanged();
    if (isPasted(before, text))
        commit();
}

void TelegramSettingsTabModel::setChatID(const QString &text)
{
    const QString before = std::exchange(m_chatID, text);
    if (before == text)
        return;
    Q_EMIT chatIDChanged();
    if (isPasted(before, text))
        commit();
}

void TelegramSettingsTabModel::commit()
{
    const QString token = trimmedWhitespace(m_botToken).toString();
    const QString chat = trimmedWhitespace(m_chatID).toString();
    if (std::exchange(m_botToken, token) != token)
        Q_EMIT botTokenChanged();
    if (std::exchange(m_chatID, chat) != chat)
        Q_EMIT chatIDChanged();
    if (token != m_telegramService.botToken())
        m_telegramService.setBotToken(token);
    if (chat != m_telegramService.chatID())
        m_telegramService.setChatID(chat);
}

} // namespace vantry
