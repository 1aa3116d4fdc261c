#include "style/Theme.h"

#include "style/Appearance.h"

#include <QQuickItem>
#include <QQuickWindow>

using namespace Qt::StringLiterals;

namespace vantry {
namespace {

/// The item itself, or the nearest one that owns the object: a popup or a handler is no item.
QQuickItem *itemOf(QObject *object)
{
    for (; object; object = object->parent()) {
        if (auto *item = qobject_cast<QQuickItem *>(object))
            return item;
    }
    return nullptr;
}

Appearance::ThemeName themeOf(const QQuickWindow *window, const Appearance &appearance)
{
    const auto isNotch = window && window->property("vantryTheme").toString() == u"notch"_s;
    return isNotch ? Appearance::ThemeName::Notch : appearance.theme();
}

} // namespace

Theme::Theme(QObject *attachee)
    : QObject(attachee)
    , m_appearance(Appearance::of(attachee))
    , m_palette(&m_appearance.palette(m_appearance.theme()))
{
    connect(&m_appearance, &Appearance::changed, this, [this] {
        m_palette = &m_appearance.palette(themeOf(m_window, m_appearance));
        Q_EMIT changed();
    });
    if (auto *item = itemOf(attachee)) {
        connect(item, &QQuickItem::windowChanged, this, &Theme::follow);
        follow(item->window());
    }
}

Theme *Theme::qmlAttachedProperties(QObject *attachee)
{
    return new Theme(attachee);
}

QString Theme::name() const
{
    switch (themeOf(m_window, m_appearance)) {
    case Appearance::ThemeName::Light:
        return u"light"_s;
    case Appearance::ThemeName::Dark:
        return u"dark"_s;
    case Appearance::ThemeName::Notch:
        break;
    }
    return u"notch"_s;
}

void Theme::follow(QQuickWindow *window)
{
    m_window = window;
    const auto *palette = &m_appearance.palette(themeOf(window, m_appearance));
    if (palette == m_palette)
        return;
    m_palette = palette;
    Q_EMIT changed();
}

} // namespace vantry
