#pragma once

#include "style/Palette.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

class QQuickItem;
class QQuickWindow;

namespace vantry {

class Appearance;

/// The colours for the item that it is attached to, as in "color: Theme.text". A window whose property "vantryTheme" is
/// "notch" when its items come to it has the notch's colours; all others follow the desktop's light or dark, live.
/// Main thread only.
class Theme final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Theme is attached to an item")
    QML_ATTACHED(vantry::Theme)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QColor bg READ bg NOTIFY changed)
    Q_PROPERTY(QColor page READ page NOTIFY changed)
    Q_PROPERTY(QColor raised READ raised NOTIFY changed)
    Q_PROPERTY(QColor sunken READ sunken NOTIFY changed)
    Q_PROPERTY(QColor hover READ hover NOTIFY changed)
    Q_PROPERTY(QColor pressed READ pressed NOTIFY changed)
    Q_PROPERTY(QColor line READ line NOTIFY changed)
    Q_PROPERTY(QColor lineStrong READ lineStrong NOTIFY changed)
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor text2 READ text2 NOTIFY changed)
    Q_PROPERTY(QColor text3 READ text3 NOTIFY changed)
    Q_PROPERTY(QColor disabled READ disabled NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentGlyph READ accentGlyph NOTIFY changed)
    Q_PROPERTY(QColor bypass READ bypass NOTIFY changed)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY changed)
    Q_PROPERTY(QColor accentFill READ accentFill NOTIFY changed)
    Q_PROPERTY(QColor accentFillHover READ accentFillHover NOTIFY changed)
    Q_PROPERTY(QColor accentFillPressed READ accentFillPressed NOTIFY changed)
    Q_PROPERTY(QColor onAccentFill READ onAccentFill NOTIFY changed)
    Q_PROPERTY(QColor tint READ tint NOTIFY changed)
    Q_PROPERTY(QColor tintHover READ tintHover NOTIFY changed)
    Q_PROPERTY(QColor tintLine READ tintLine NOTIFY changed)
    Q_PROPERTY(QColor ready READ ready NOTIFY changed)
    Q_PROPERTY(QColor readyDot READ readyDot NOTIFY changed)
    Q_PROPERTY(QColor error READ error NOTIFY changed)
    Q_PROPERTY(QColor errorTint READ errorTint NOTIFY changed)
    Q_PROPERTY(QColor errorLine READ errorLine NOTIFY changed)
    Q_PROPERTY(QColor warn READ warn NOTIFY changed)
    Q_PROPERTY(QColor warnDot READ warnDot NOTIFY changed)
    Q_PROPERTY(QColor working READ working NOTIFY changed)
    Q_PROPERTY(QColor link READ link NOTIFY changed)
    Q_PROPERTY(QColor focus READ focus NOTIFY changed)
    Q_PROPERTY(QColor selection READ selection NOTIFY changed)
    Q_PROPERTY(QColor bubble READ bubble NOTIFY changed)
    Q_PROPERTY(QColor onBubble READ onBubble NOTIFY changed)
    Q_PROPERTY(QColor bubbleCode READ bubbleCode NOTIFY changed)
    Q_PROPERTY(QColor ink READ ink NOTIFY changed)
    Q_PROPERTY(QColor inkHover READ inkHover NOTIFY changed)
    Q_PROPERTY(QColor inkPressed READ inkPressed NOTIFY changed)
    Q_PROPERTY(QColor onInk READ onInk NOTIFY changed)
    Q_PROPERTY(QColor added READ added NOTIFY changed)
    Q_PROPERTY(QColor removed READ removed NOTIFY changed)
    Q_PROPERTY(QColor record READ record NOTIFY changed)
    Q_PROPERTY(QColor shadow READ shadow NOTIFY changed)

public:
    explicit Theme(QObject *attachee);
    static Theme *qmlAttachedProperties(QObject *attachee);

    /// "light", "dark" or "notch".
    [[nodiscard]] QString name() const;
#define VANTRY_COLOR_GETTER(name)                                                                                      \
    [[nodiscard]] QColor name() const                                                                                  \
    {                                                                                                                  \
        return m_palette->name;                                                                                        \
    }
    VANTRY_COLORS(VANTRY_COLOR_GETTER)
#undef VANTRY_COLOR_GETTER

Q_SIGNALS:
    void changed();

private:
    void follow(QQuickWindow *window);

    const Appearance &m_appearance;
    QPointer<QQuickWindow> m_window;
    const Palette *m_palette; ///< One of the appearance's.
};

} // namespace vantry
