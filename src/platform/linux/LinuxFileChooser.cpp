#include "platform/linux/LinuxFileChooser.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QUrl>
#include <QWindow>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace portal {

/// A pattern of file names.
struct Pattern
{
    uint kind { 0 }; ///< By name.
    QString glob;
};

/// A kind of files that is offered.
struct FileFilter
{
    QString name;
    QList<Pattern> patterns;
};

static QDBusArgument &operator<<(QDBusArgument &argument, const Pattern &pattern)
{
    argument.beginStructure();
    argument << pattern.kind << pattern.glob;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, Pattern &pattern)
{
    argument.beginStructure();
    argument >> pattern.kind >> pattern.glob;
    argument.endStructure();
    return argument;
}

static QDBusArgument &operator<<(QDBusArgument &argument, const FileFilter &filter)
{
    argument.beginStructure();
    argument << filter.name << filter.patterns;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, FileFilter &filter)
{
    argument.beginStructure();
    argument >> filter.name >> filter.patterns;
    argument.endStructure();
    return argument;
}

} // namespace portal

} // namespace vantry

Q_DECLARE_METATYPE(vantry::portal::Pattern)
Q_DECLARE_METATYPE(vantry::portal::FileFilter)

namespace vantry {

namespace {

constexpr auto service = "org.freedesktop.portal.Desktop"_L1;
constexpr auto objectPath = "/org/freedesktop/portal/desktop"_L1;
constexpr auto chooserInterface = "org.freedesktop.portal.FileChooser"_L1;
constexpr auto requestInterface = "org.freedesktop.portal.Request"_L1;

/// A portal that has to be started first takes some seconds.
constexpr int patience = 10'000;

/// Names in the form of the capitals and of the small letters: "*.wav", "*.WAV".
QStringList globsOf(const FileChooser::Filter &filter)
{
    QStringList globs;
    for (const QString &suffix : filter.suffixes)
        globs << u"*."_s + suffix << u"*."_s + suffix.toUpper();
    return globs;
}

portal::FileFilter portalFilter(const FileChooser::Filter &filter)
{
    portal::FileFilter result { filter.name, {} };
    for (const QString &glob : globsOf(filter))
        result.patterns.append({ 0, glob });
    return result;
}

/// The window that has the focus, as the portal names it; empty where it has no such name.
QString parentWindow()
{
    const QWindow *window = QGuiApplication::focusWindow();
    return window && QGuiApplication::platformName() == u"xcb" ? u"x11:"_s + QString::number(window->winId(), 16)
                                                               : QString();
}

} // namespace

LinuxFileChooser::LinuxFileChooser(const QString &busAddress)
    : m_busAddress(busAddress)
{
    qDBusRegisterMetaType<portal::Pattern>();
    qDBusRegisterMetaType<QList<portal::Pattern>>();
    qDBusRegisterMetaType<portal::FileFilter>();
    qDBusRegisterMetaType<QList<portal::FileFilter>>();
    connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        if (!m_request.isEmpty())
            answer(std::nullopt);
    });
}

LinuxFileChooser::~LinuxFileChooser()
{
    cancel();
}

void LinuxFileChooser::chooseFile(const QString &message, const Filter &filter, Chosen chosen)
{
    cancel();
    ++m_questions;
    m_message = message;
    m_filter = filter;
    m_chosen = std::move(chosen);
    connectToBus();
    if (m_bus->isConnected())
        askPortal();
    else
        showToolkitDialog();
}

void LinuxFileChooser::cancel()
{
    m_chosen = {};
    if (!m_request.isEmpty())
        (*m_bus)->send(QDBusMessage::createMethodCall(service, m_request, requestInterface, u"Close"_s));
    stopListening();
    if (m_dialog)
        delete m_dialog;
}

// The portal

void LinuxFileChooser::connectToBus()
{
    if (m_bus)
        return;
    m_bus.emplace(m_busAddress);
    if (!m_bus->isConnected())
        return;
    m_watcher.setConnection(**m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    m_watcher.addWatchedService(service);
}

void LinuxFileChooser::askPortal()
{
    // Known before the call, so that no answer is missed, however fast it comes.
    const QString token = u"vantry%1"_s.arg(m_questions);
    listen(u"%1/request/%2/%3"_s.arg(objectPath, (*m_bus)->baseService().mid(1).replace(u'.', u'_'), token));

    auto call = QDBusMessage::createMethodCall(service, objectPath, chooserInterface, u"OpenFile"_s);
    const QList<portal::FileFilter> filters { portalFilter(m_filter) };
    call << parentWindow() << m_message
         << QVariantMap { { u"handle_token"_s, token },
                          { u"modal"_s, true },
                          { u"multiple"_s, false },
                          { u"directory"_s, false },
                          { u"filters"_s, QVariant::fromValue(filters) } };
    auto *watcher = new QDBusPendingCallWatcher((*m_bus)->asyncCall(call, patience), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, question = m_questions] {
        watcher->deleteLater();
        if (question != m_questions || m_request.isEmpty())
            return;
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            stopListening();
            showToolkitDialog();
        } else if (const QString request = reply.value().path(); request != m_request) {
            // Of old, portals chose the name themselves.
            stopListening();
            listen(request);
        }
    });
}

void LinuxFileChooser::listen(const QString &request)
{
    m_request = request;
    (*m_bus)->connect(service, request, requestInterface, u"Response"_s, this, SLOT(takeResponse(uint, QVariantMap)));
}

void LinuxFileChooser::stopListening()
{
    if (m_request.isEmpty())
        return;
    (*m_bus)->disconnect(service, std::exchange(m_request, {}), requestInterface, u"Response"_s, this,
                         SLOT(takeResponse(uint, QVariantMap)));
}

void LinuxFileChooser::takeResponse(uint response, const QVariantMap &results)
{
    constexpr uint accepted = 0;
    const QStringList addresses = results.value(u"uris"_s).toStringList();
    const QString path =
        response == accepted && !addresses.isEmpty() ? QUrl(addresses.constFirst()).toLocalFile() : QString();
    answer(path.isEmpty() ? std::nullopt : std::optional(path));
}

// The toolkit

void LinuxFileChooser::showToolkitDialog()
{
    m_dialog = new QFileDialog(nullptr, m_message, QDir::homePath(),
                               u"%1 (%2)"_s.arg(m_filter.name, globsOf(m_filter).join(u' ')));
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_dialog->setFileMode(QFileDialog::ExistingFile);
    m_dialog->setAcceptMode(QFileDialog::AcceptOpen);
    connect(m_dialog, &QFileDialog::finished, this, [this](int result) {
        const QStringList files = m_dialog->selectedFiles();
        answer(result == QFileDialog::Accepted && !files.isEmpty() ? std::optional(files.constFirst()) : std::nullopt);
    });
    QWindow *parent = QGuiApplication::focusWindow();
    m_dialog->winId();
    if (parent && m_dialog->windowHandle())
        m_dialog->windowHandle()->setTransientParent(parent);
    m_dialog->open();
}

void LinuxFileChooser::answer(const std::optional<QString> &path)
{
    stopListening();
    if (const Chosen chosen = std::exchange(m_chosen, {}))
        chosen(path);
}

} // namespace vantry
