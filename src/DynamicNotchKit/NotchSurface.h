#pragma once

#include "DynamicNotchKit/ContentTransition.h"
#include "DynamicNotchKit/DynamicNotch.h"
#include "DynamicNotchKit/NotchMotion.h"
#include "DynamicNotchKit/NotchShape.h"

#include <QRegion>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What the views of a surface are drawn from: where everything is in the window at the present moment of the motion.
/// Main thread only.
class NotchSurface final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by DynamicNotch")
    Q_PROPERTY(bool isFloating READ isFloating NOTIFY stateChanged)
    Q_PROPERTY(bool isExpanded READ isExpanded NOTIFY stateChanged)
    Q_PROPERTY(bool isCompact READ isCompact NOTIFY stateChanged)
    /// Whether the expanded content has the keyboard. It hasn't until the window has been clicked into.
    Q_PROPERTY(bool isKey READ isKey NOTIFY stateChanged)
    /// Of the whole window.
    Q_PROPERTY(double alpha READ alpha NOTIFY changed)
    /// The shape, in whole pixels of the display.
    Q_PROPERTY(QRectF shapeRect READ shapeRect NOTIFY changed)
    Q_PROPERTY(double topCornerRadius READ topCornerRadius NOTIFY changed)
    Q_PROPERTY(double bottomCornerRadius READ bottomCornerRadius NOTIFY changed)
    Q_PROPERTY(double shapeOpacity READ shapeOpacity NOTIFY changed)
    /// The shape that the present one fades over; empty otherwise.
    Q_PROPERTY(QRectF formerRect READ formerRect NOTIFY changed)
    Q_PROPERTY(double formerTopCornerRadius READ formerTopCornerRadius NOTIFY changed)
    Q_PROPERTY(double formerBottomCornerRadius READ formerBottomCornerRadius NOTIFY changed)
    Q_PROPERTY(double formerOpacity READ formerOpacity NOTIFY changed)
    /// What shows of the expanded content: while the shape is larger or smaller than what it holds, nothing of that
    /// stands over its rounded corners.
    Q_PROPERTY(QRectF contentClip READ contentClip NOTIFY changed)
    Q_PROPERTY(QRectF expandedRect READ expandedRect NOTIFY changed)
    Q_PROPERTY(double expandedOpacity READ expandedOpacity NOTIFY changed)
    Q_PROPERTY(double expandedScale READ expandedScale NOTIFY changed)
    Q_PROPERTY(QRectF leadingRect READ leadingRect NOTIFY changed)
    Q_PROPERTY(QRectF trailingRect READ trailingRect NOTIFY changed)
    Q_PROPERTY(double compactOpacity READ compactOpacity NOTIFY changed)
    Q_PROPERTY(double compactScale READ compactScale NOTIFY changed)
    /// Of the shadow that fades out over 10 pixels, and of the one that does so over 20.
    Q_PROPERTY(double shadowOpacity READ shadowOpacity NOTIFY changed)
    Q_PROPERTY(double strongShadowOpacity READ strongShadowOpacity NOTIFY changed)
    /// Whether advance() has to be called with each frame.
    Q_PROPERTY(bool isAnimating READ isAnimating NOTIFY changed)
    /// Told by the views.
    Q_PROPERTY(double leadingContentWidth READ leadingContentWidth WRITE setLeadingContentWidth NOTIFY changed)
    Q_PROPERTY(double trailingContentWidth READ trailingContentWidth WRITE setTrailingContentWidth NOTIFY changed)
    Q_PROPERTY(QSizeF expandedContentSize READ expandedContentSize WRITE setExpandedContentSize NOTIFY changed)
    Q_PROPERTY(QUrl expandedSource READ expandedSource CONSTANT)
    Q_PROPERTY(QVariantMap expandedProperties READ expandedProperties CONSTANT)
    Q_PROPERTY(QUrl leadingSource READ leadingSource CONSTANT)
    Q_PROPERTY(QVariantMap leadingProperties READ leadingProperties CONSTANT)
    Q_PROPERTY(QUrl trailingSource READ trailingSource CONSTANT)
    Q_PROPERTY(QVariantMap trailingProperties READ trailingProperties CONSTANT)

public:
    /// What a new window stands on.
    struct Stage
    {
        DynamicNotchStyle style { DynamicNotchStyle::notch() }; ///< A resolved one.
        QSizeF notchSize {};
        QSizeF screenSize {};
    };

    NotchSurface(const Clock &clock, DynamicNotch::Contents contents, std::function<bool()> reducedMotion);

    /// Begins anew, hidden and with nothing measured.
    void begin(const Stage &stage);
    void setWindow(double width, double pixelRatio);
    void setState(DynamicNotchState state, const SpringAnimation &animation);
    void setKey(bool isKey);
    void setHoveredStronger(bool isStronger);
    void setHasShadow(bool hasShadow);
    void setDisabled(DynamicNotchSection section, bool isDisabled);
    [[nodiscard]] bool isDisabled(DynamicNotchSection section) const;
    void fadeIn();
    void fadeOut();
    /// Goes to the present moment.
    Q_INVOKABLE void advance();

    [[nodiscard]] const NotchLayout &layout() const { return m_layout; }
    [[nodiscard]] const NotchForm &form() const { return m_motion.form(); }
    /// What the shape covers of the window.
    [[nodiscard]] QRegion region() const;
    [[nodiscard]] QSizeF neededWindowSize() const { return vantry::neededWindowSize(m_layout); }

    [[nodiscard]] bool isFloating() const { return m_layout.style.isFloating(); }
    [[nodiscard]] bool isExpanded() const { return m_layout.state == DynamicNotchState::expanded; }
    [[nodiscard]] bool isCompact() const { return m_layout.state == DynamicNotchState::compact; }
    [[nodiscard]] bool isKey() const { return m_isKey; }
    [[nodiscard]] double alpha() const { return m_alpha.value(); }
    [[nodiscard]] QRectF shapeRect() const { return rectOf(m_motion.form()); }
    [[nodiscard]] double topCornerRadius() const { return m_motion.form().topCornerRadius; }
    [[nodiscard]] double bottomCornerRadius() const { return m_motion.form().bottomCornerRadius; }
    [[nodiscard]] double shapeOpacity() const { return m_motion.opacity(); }
    [[nodiscard]] QRectF formerRect() const;
    [[nodiscard]] double formerTopCornerRadius() const;
    [[nodiscard]] double formerBottomCornerRadius() const;
    [[nodiscard]] double formerOpacity() const { return m_motion.formerOpacity(); }
    [[nodiscard]] QRectF contentClip() const;
    [[nodiscard]] QRectF expandedRect() const;
    [[nodiscard]] double expandedOpacity() const;
    [[nodiscard]] double expandedScale() const;
    [[nodiscard]] QRectF leadingRect() const;
    [[nodiscard]] QRectF trailingRect() const;
    [[nodiscard]] double compactOpacity() const;
    [[nodiscard]] double compactScale() const;
    [[nodiscard]] double shadowOpacity() const { return m_hasShadow ? m_shadow.value() : 0; }
    [[nodiscard]] double strongShadowOpacity() const { return m_hasShadow ? m_strongShadow.value() : 0; }
    [[nodiscard]] bool isAnimating() const;
    [[nodiscard]] double leadingContentWidth() const { return m_leadingContentWidth; }
    void setLeadingContentWidth(double width);
    [[nodiscard]] double trailingContentWidth() const { return m_trailingContentWidth; }
    void setTrailingContentWidth(double width);
    [[nodiscard]] QSizeF expandedContentSize() const { return m_expandedContentSize; }
    void setExpandedContentSize(const QSizeF &size);
    [[nodiscard]] QUrl expandedSource() const { return m_contents.expanded.source; }
    [[nodiscard]] QVariantMap expandedProperties() const { return m_contents.expanded.properties; }
    [[nodiscard]] QUrl leadingSource() const { return m_contents.compactLeading.source; }
    [[nodiscard]] QVariantMap leadingProperties() const { return m_contents.compactLeading.properties; }
    [[nodiscard]] QUrl trailingSource() const { return m_contents.compactTrailing.source; }
    [[nodiscard]] QVariantMap trailingProperties() const { return m_contents.compactTrailing.properties; }

Q_SIGNALS:
    void stateChanged();
    void changed();
    void neededWindowSizeChanged();

private:
    void measured();
    void goTo(const NotchForm &form, const SpringAnimation &animation);
    /// Whether no motion is wanted.
    [[nodiscard]] bool isStill() const;
    void updateShadow();
    [[nodiscard]] QRectF rectOf(const NotchForm &form) const;
    [[nodiscard]] double snapped(double length) const;

    const Clock &m_clock;
    const DynamicNotch::Contents m_contents;
    const std::function<bool()> m_reducedMotion;
    NotchLayout m_layout;
    NotchMotion m_motion;
    Fade m_alpha { 0 };
    Fade m_shadow { 0 };
    Fade m_strongShadow { 0 };
    double m_windowWidth { 0 };
    double m_pixelRatio { 1 };
    double m_leadingContentWidth { 0 };
    double m_trailingContentWidth { 0 };
    QSizeF m_expandedContentSize;
    bool m_isLeadingDisabled { false };
    bool m_isTrailingDisabled { false };
    bool m_isKey { false };
    bool m_isHoveredStronger { false };
    bool m_hasShadow { false };
    bool m_isChangingState { false };
};

} // namespace vantry
