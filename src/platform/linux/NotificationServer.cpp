#include "platform/linux/NotificationServer.h"

#include "base/Text.h"

#include <QDBusReply>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;
using Presence = NotificationCentre::Server::Presence;

namespace {

/// One that hangs is not there.
constexpr int patience = 1'000;

constexpr qsizetype mostCharacters = 400;
constexpr int mostLines = 8;
/// Characters can be made of any number of code units.
constexpr qsizetype mostCodeUnits = 4 * mostCharacters;

/// What turns the reading direction, so that a line reads as another.
constexpr bool turnsDirection(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

constexpr bool isControl(QChar character)
{
    const char16_t code = character.unicode();
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

} // namespace

NotificationCentre::Server findNotificationServer(const QString &busAddress)
{
    BusConnection bus(busAddress);
    if (!bus.isConnected())
        return { Presence::Absent, {} };
    auto question = notificationCall("GetCapabilities");
    question.setAutoStartService(false);
    const QDBusMessage answer = bus->call(question, QDBus::Block, patience);
    if (answer.type() == QDBusMessage::ReplyMessage) {
        // Name, vendor, version, and the version of the protocol.
        const QVariantList server =
            bus->call(notificationCall("GetServerInformation"), QDBus::Block, patience).arguments();
        const QString name = server.value(0).toString() + u' ' + server.value(2).toString();
        return { Presence::Present, QDBusReply<QStringList>(answer).value(),
                 server.size() == 4 ? trimmedWhitespace(name).toString() : QString() };
    }
    if (!isNobodyThere(answer))
        return { Presence::Unknown, {} };
    const QDBusReply<QStringList> startable = bus->call(startableServicesCall(), QDBus::Block, patience);
    return { startable.value().contains(QLatin1StringView(notificationService)) ? Presence::Startable
                                                                                : Presence::Absent,
             {} };
}

QDBusMessage notificationCall(const char *method)
{
    return QDBusMessage::createMethodCall(QString::fromLatin1(notificationService),
                                          QString::fromLatin1(notificationPath),
                                          QString::fromLatin1(notificationInterface), QString::fromLatin1(method));
}

QString notificationText(const QString &text)
{
    // No more is looked at than can be shown, however long the text is; what is left out again is allowed for.
    const QStringView head = QStringView(text).first(std::min(text.size(), 2 * mostCodeUnits));
    QString shown;
    int lines = 1;
    bool isCut = head.size() < text.size();
    for (const QChar character : trimmedWhitespace(head)) {
        const bool isBreak =
            character == u'\n' || character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
        if (isBreak && ++lines > mostLines) {
            isCut = true;
            break;
        }
        if (isBreak)
            shown += u'\n';
        else if (character == u'\t')
            shown += u' ';
        else if (!isControl(character) && !turnsDirection(character))
            shown += character;
    }
    const QStringView fitting =
        firstCharacters(QStringView(shown).first(std::min(shown.size(), mostCodeUnits)), mostCharacters);
    isCut = isCut || fitting.size() < shown.size();
    return isCut ? trimmedWhitespace(fitting) + u"…"_s : shown;
}

QString escapedForMarkup(const QString &text)
{
    QString escaped = text;
    return escaped.replace(u'&', u"&amp;"_s).replace(u'<', u"&lt;"_s).replace(u'>', u"&gt;"_s);
}

} // namespace vantry
