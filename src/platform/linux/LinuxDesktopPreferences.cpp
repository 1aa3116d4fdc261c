#include "platform/linux/LinuxDesktopPreferences.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <algorithm>
#include <array>
#include <cmath>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr auto portalService = "org.freedesktop.portal.Desktop"_L1;
constexpr auto portalPath = "/org/freedesktop/portal/desktop"_L1;
constexpr auto settingsInterface = "org.freedesktop.portal.Settings"_L1;
constexpr auto appearanceGroup = "org.freedesktop.appearance"_L1;
constexpr auto interfaceGroup = "org.gnome.desktop.interface"_L1;

constexpr double smallestTextScale = 0.5;
constexpr double largestTextScale = 3;

/// A value of the portal without the variants that some wrap around it.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// Copies the value when it has the type; else says that it hasn't.
template <typename T>
bool assign(T &target, const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<T>())
        return false;
    target = value.value<T>();
    return true;
}

template <typename Use>
bool withNumber(const QVariant &value, Use use)
{
    uint number = 0;
    if (!assign(number, value))
        return false;
    use(number);
    return true;
}

bool takeTextScale(double &target, const QVariant &value)
{
    double scale = 0;
    if (!assign(scale, value) || !std::isfinite(scale) || scale <= 0)
        return false;
    target = std::clamp(scale, smallestTextScale, largestTextScale);
    return true;
}

bool takeFamily(QString &target, const QVariant &value)
{
    QString description;
    if (!assign(description, value))
        return false;
    target = LinuxDesktopPreferences::familyOf(description);
    return true;
}

} // namespace

LinuxDesktopPreferences::LinuxDesktopPreferences(const QString &busAddress, Log &log)
    : m_log(log)
    , m_bus(busAddress)
{
    if (!m_bus.isConnected())
        return;
    // Qt knows the type by its name only once it has been used, and connects nothing before.
    qRegisterMetaType<QDBusVariant>();
    m_bus->connect(portalService, portalPath, settingsInterface, u"SettingChanged"_s, this,
                   SLOT(takeChange(QString, QString, QDBusVariant)));
    m_watcher.setConnection(*m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_watcher.addWatchedService(portalService);
    connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, this, &LinuxDesktopPreferences::ask);
    ask();
}

QString LinuxDesktopPreferences::familyOf(const QString &description)
{
    static constexpr std::array styleWords { "regular"_L1,   "book"_L1,      "medium"_L1,         "bold"_L1,
                                             "semi-bold"_L1, "demi-bold"_L1, "semibold"_L1,       "light"_L1,
                                             "thin"_L1,      "heavy"_L1,     "black"_L1,          "italic"_L1,
                                             "oblique"_L1,   "condensed"_L1, "semi-condensed"_L1, "roman"_L1 };
    auto words = description.section(u',', 0, 0).simplified().split(u' ', Qt::SkipEmptyParts);
    bool isNumber = false;
    if (words.size() > 1 && (words.last().toDouble(&isNumber), isNumber))
        words.removeLast();
    const auto isStyle = [](const QString &word) {
        return std::any_of(styleWords.begin(), styleWords.end(),
                           [&word](auto style) { return word.compare(style, Qt::CaseInsensitive) == 0; });
    };
    while (words.size() > 1 && isStyle(words.last()))
        words.removeLast();
    return words.join(u' ');
}

void LinuxDesktopPreferences::ask()
{
    auto call = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, u"ReadAll"_s);
    call << QStringList { appearanceGroup, interfaceGroup };
    auto *answer = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const auto reply = answer->reply();
        if (answer->isError()) {
            // Nobody's portal, or one without settings, is no news.
            const auto type = answer->error().type();
            if (type != QDBusError::ServiceUnknown && type != QDBusError::UnknownMethod &&
                type != QDBusError::UnknownInterface)
                m_log.write(u"DesktopPreferences: the settings portal failed: "_s +
                            answer->error().message().simplified());
            return;
        }
        if (reply.signature() != u"a{sa{sv}}"_s) {
            m_log.write("DesktopPreferences: the settings portal gave an answer of a wrong type");
            return;
        }
        take(qdbus_cast<Groups>(reply.arguments().constFirst()));
    });
}

void LinuxDesktopPreferences::take(const Groups &groups)
{
    auto values = m_values;
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        for (auto setting = group->cbegin(); setting != group->cend(); ++setting)
            apply(values, group.key(), setting.key(), *setting);
    }
    set(values);
}

void LinuxDesktopPreferences::takeChange(const QString &group, const QString &key, const QDBusVariant &value)
{
    auto values = m_values;
    apply(values, group, key, value.variant());
    set(values);
}

void LinuxDesktopPreferences::apply(Values &values, const QString &group, const QString &key, const QVariant &value)
{
    const auto plain = unwrapped(value);
    bool isUsable = true;
    if (group == appearanceGroup) {
        if (key == u"color-scheme"_s)
            isUsable = withNumber(plain, [&](uint scheme) { values.prefersDark = scheme == 1; });
        else if (key == u"contrast"_s)
            isUsable = withNumber(plain, [&](uint contrast) { values.highContrast = contrast == 1; });
    } else if (group == interfaceGroup) {
        if (key == u"enable-animations"_s) {
            bool areEnabled = true;
            isUsable = assign(areEnabled, plain);
            if (isUsable)
                values.reducedMotion = !areEnabled;
        } else if (key == u"text-scaling-factor"_s) {
            isUsable = takeTextScale(values.textScale, plain);
        } else if (key == u"font-name"_s) {
            isUsable = takeFamily(values.fontFamily, plain);
        } else if (key == u"monospace-font-name"_s) {
            isUsable = takeFamily(values.fixedFontFamily, plain);
        }
    }
    if (!isUsable)
        m_log.write(u"DesktopPreferences: ignored the value of "_s + group + u' ' + key);
}

void LinuxDesktopPreferences::set(const Values &values)
{
    if (values == m_values)
        return;
    m_values = values;
    if (onChanged)
        onChanged();
}

} // namespace vantry
