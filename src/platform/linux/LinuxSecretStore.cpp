#include "platform/linux/LinuxSecretStore.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QMap>

#include <algorithm>
#include <utility>

namespace vantry {

/// A secret as the service takes it.
struct WireSecret
{
    QDBusObjectPath session;
    QByteArray parameters; ///< Of the session's encryption, which is none.
    QByteArray value;
    QString contentType;
};

QDBusArgument &operator<<(QDBusArgument &argument, const WireSecret &secret)
{
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, WireSecret &secret)
{
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

using namespace Qt::StringLiterals;

namespace {

using Attributes = QMap<QString, QString>;

constexpr auto secretService = "org.freedesktop.secrets"_L1;
constexpr auto servicePath = "/org/freedesktop/secrets"_L1;
constexpr auto serviceInterface = "org.freedesktop.Secret.Service"_L1;
constexpr auto collectionInterface = "org.freedesktop.Secret.Collection"_L1;
constexpr auto itemInterface = "org.freedesktop.Secret.Item"_L1;
constexpr auto promptInterface = "org.freedesktop.Secret.Prompt"_L1;
/// Stands for no object.
constexpr auto noPath = "/"_L1;
/// Under which the program's secrets are kept.
constexpr auto ownService = "com.vantry.app"_L1;

QDBusMessage secretCall(const QString &path, QLatin1StringView interface, const char *method,
                        const QVariantList &arguments = {})
{
    auto message = QDBusMessage::createMethodCall(secretService, path, interface, QString::fromLatin1(method));
    message.setArguments(arguments);
    return message;
}

Attributes attributesOf(const QString &account)
{
    return { { u"service"_s, ownService }, { u"account"_s, account } };
}

QDBusObjectPath pathIn(const QDBusMessage &reply, int argument)
{
    return reply.arguments().at(argument).value<QDBusObjectPath>();
}

} // namespace

LinuxSecretStore::LinuxSecretStore(const QString &busAddress)
    : m_bus(busAddress)
{
    qDBusRegisterMetaType<WireSecret>();
    qDBusRegisterMetaType<Attributes>();
    qRegisterMetaType<QDBusVariant>();
    if (!m_bus.isConnected())
        return;
    m_watcher.setConnection(*m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    m_watcher.addWatchedService(secretService);
    connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        if (m_isBusy)
            finish(u"the secret service has ended"_s);
    });
}

void LinuxSecretStore::set(const QString &account, const QString &secret, Failed failed)
{
    const auto begun = m_changes.begin() + (m_isBusy ? 1 : 0);
    m_changes.erase(
        std::remove_if(begun, m_changes.end(), [&account](const Change &change) { return change.account == account; }),
        m_changes.end());
    m_changes.push_back({ account, secret, std::move(failed) });
    // Later: nothing is told from within.
    QMetaObject::invokeMethod(this, &LinuxSecretStore::beginNext, Qt::QueuedConnection);
}

void LinuxSecretStore::beginNext()
{
    if (m_isBusy || m_changes.empty())
        return;
    m_isBusy = true;
    ++m_changeNumber;
    if (!m_bus.isConnected())
        finish(u"there is no session bus"_s);
    else if (m_changes.front().secret.isEmpty())
        takeAway();
    else
        keep();
}

void LinuxSecretStore::finish(const std::optional<QString> &error)
{
    const Change change = std::move(m_changes.front());
    m_changes.pop_front();
    m_isBusy = false;
    ++m_changeNumber;
    if (!m_prompt.isEmpty()) {
        m_bus->disconnect(secretService, m_prompt, promptInterface, u"Completed"_s, this,
                          SLOT(promptCompleted(bool, QDBusVariant)));
        m_prompt.clear();
        m_afterPrompt = nullptr;
    }
    QMetaObject::invokeMethod(this, &LinuxSecretStore::beginNext, Qt::QueuedConnection);
    // Last: whoever is told may set another.
    if (error && !change.secret.isEmpty() && change.failed)
        change.failed(*error);
}

// A secret is kept

void LinuxSecretStore::keep()
{
    // What goes over the user's own bus is for those who may read the store, too: encrypting it would hide nothing.
    const auto open = secretCall(servicePath, serviceInterface, "OpenSession",
                                 { u"plain"_s, QVariant::fromValue(QDBusVariant(QString())) });
    call(open, u"vo"_s, [this](const QDBusMessage &opened) {
        const auto ask = secretCall(servicePath, serviceInterface, "ReadAlias", { u"default"_s });
        call(ask, u"o"_s, [this, session = pathIn(opened, 1)](const QDBusMessage &found) {
            const QDBusObjectPath collection = pathIn(found, 0);
            if (collection.path() == noPath)
                finish(u"the secret service has no default collection"_s);
            else
                unlock(session, collection);
        });
    });
}

void LinuxSecretStore::unlock(const QDBusObjectPath &session, const QDBusObjectPath &collection)
{
    const auto message = secretCall(servicePath, serviceInterface, "Unlock",
                                    { QVariant::fromValue(QList<QDBusObjectPath> { collection }) });
    call(message, u"aoo"_s, [this, session, collection](const QDBusMessage &reply) {
        askUser(pathIn(reply, 1), [this, session, collection] { createItem(session, collection); });
    });
}

void LinuxSecretStore::createItem(const QDBusObjectPath &session, const QDBusObjectPath &collection)
{
    const Change &change = m_changes.front();
    const QVariantMap properties {
        { u"org.freedesktop.Secret.Item.Label"_s, QString(u"Vantry: "_s + change.account) },
        { u"org.freedesktop.Secret.Item.Attributes"_s, QVariant::fromValue(attributesOf(change.account)) },
    };
    const WireSecret secret { session, {}, change.secret.toUtf8(), u"text/plain"_s };
    constexpr bool replace = true;
    const auto message = secretCall(collection.path(), collectionInterface, "CreateItem",
                                    { properties, QVariant::fromValue(secret), replace });
    call(message, u"oo"_s,
         [this](const QDBusMessage &reply) { askUser(pathIn(reply, 1), [this] { finish(std::nullopt); }); });
}

// A secret is taken away

void LinuxSecretStore::takeAway()
{
    auto search = secretCall(servicePath, serviceInterface, "SearchItems",
                             { QVariant::fromValue(attributesOf(m_changes.front().account)) });
    // Where no service runs, nothing is unlocked.
    search.setAutoStartService(false);
    call(search, u"aoao"_s, [this](const QDBusMessage &reply) {
        const auto unlocked = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().constFirst());
        for (const QDBusObjectPath &item : unlocked) {
            // A service that wants to ask first gives a prompt, which is not shown unless somebody shows it.
            auto message = secretCall(item.path(), itemInterface, "Delete");
            message.setAutoStartService(false);
            m_bus->send(message);
        }
        finish(std::nullopt);
    });
}

// The service

void LinuxSecretStore::call(const QDBusMessage &message, const QString &signature, const Then &then)
{
    auto *const watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, signature, then, number = m_changeNumber] {
                watcher->deleteLater();
                if (number != m_changeNumber)
                    return;
                const QDBusMessage reply = watcher->reply();
                if (isNobodyThere(reply))
                    finish(u"there is no secret service"_s);
                else if (watcher->isError())
                    finish(watcher->error().message().simplified());
                else if (reply.signature() != signature)
                    finish(u"the secret service gave an answer of a wrong type"_s);
                else
                    then(reply);
            });
}

void LinuxSecretStore::askUser(const QDBusObjectPath &prompt, std::function<void()> then)
{
    if (prompt.path() == noPath) {
        then();
        return;
    }
    m_prompt = prompt.path();
    m_afterPrompt = std::move(then);
    m_bus->connect(secretService, m_prompt, promptInterface, u"Completed"_s, this,
                   SLOT(promptCompleted(bool, QDBusVariant)));
    call(secretCall(m_prompt, promptInterface, "Prompt", { QString() }), QString(), [](const QDBusMessage &) {});
}

void LinuxSecretStore::promptCompleted(bool isDismissed, const QDBusVariant &)
{
    if (m_prompt.isEmpty())
        return;
    m_bus->disconnect(secretService, m_prompt, promptInterface, u"Completed"_s, this,
                      SLOT(promptCompleted(bool, QDBusVariant)));
    m_prompt.clear();
    const auto then = std::exchange(m_afterPrompt, nullptr);
    if (isDismissed)
        finish(u"the store stays locked"_s);
    else
        then();
}

std::optional<SecretStore::Problem> LinuxSecretStore::problem(const QString &busAddress)
{
    constexpr int patience = 1'000;
    const Problem none { u"There is no secret service: the Telegram token and chat are kept for one run only"_s,
                         u"Install the package \"gnome-keyring\", or turn on the desktop's own"_s };
    BusConnection bus(busAddress);
    if (!bus.isConnected())
        return none;
    const auto ask = [&bus](QDBusMessage question) {
        question.setAutoStartService(false);
        return bus->call(question, QDBus::Block, patience);
    };
    const QDBusMessage alias = ask(secretCall(servicePath, serviceInterface, "ReadAlias", { u"default"_s }));
    if (isNobodyThere(alias)) {
        const QDBusReply<QStringList> startable = ask(startableServicesCall());
        return startable.value().contains(secretService) ? std::nullopt : std::optional(none);
    }
    const QDBusReply<QDBusObjectPath> collection = alias;
    if (!collection.isValid())
        return Problem { u"The secret service does not answer"_s, u"End it, or log in anew"_s };
    if (collection.value().path() == noPath)
        return Problem { u"The secret service has no default collection"_s,
                         u"Make one in the desktop's password application, such as \"seahorse\""_s };
    const QDBusReply<QDBusVariant> isLocked =
        ask(QDBusMessage(QDBusMessage::createMethodCall(secretService, collection.value().path(),
                                                        QLatin1StringView(bus::propertiesInterface), u"Get"_s)
                         << QString(collectionInterface) << u"Locked"_s));
    if (isLocked.value().variant().toBool())
        return Problem { u"The secret service is locked"_s,
                         u"Unlock it in the desktop's password application: until then nothing is kept there"_s };
    return std::nullopt;
}

} // namespace vantry
