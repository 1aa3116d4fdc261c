#pragma once

#include "DynamicNotchKit/DynamicNotch.h"

#include <QColor>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// A small picture beside a text, or beside the notch.
class DynamicNotchInfoLabel
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(Kind kind READ kind CONSTANT)
    Q_PROPERTY(QUrl image READ image CONSTANT)
    Q_PROPERTY(QString systemImage READ systemImage CONSTANT)
    Q_PROPERTY(QColor color READ color CONSTANT)
    Q_PROPERTY(double progress READ progress CONSTANT)
    Q_PROPERTY(QVariantMap viewProperties READ viewProperties CONSTANT)

public:
    enum Kind { None, Image, SystemImage, Progress, View };
    Q_ENUM(Kind)

    DynamicNotchInfoLabel() = default;
    [[nodiscard]] static DynamicNotchInfoLabel ofImage(const QUrl &image);
    /// A picture of the desktop's icon theme, in one colour.
    [[nodiscard]] static DynamicNotchInfoLabel ofSystemImage(const QString &name, const QColor &color = Qt::white);
    /// A ring that is closed at 1.
    [[nodiscard]] static DynamicNotchInfoLabel ofProgress(double progress, const QColor &color = Qt::white);
    [[nodiscard]] static DynamicNotchInfoLabel ofView(const DynamicNotchView &view);

    [[nodiscard]] Kind kind() const { return m_kind; }
    /// Of an image or a view.
    [[nodiscard]] QUrl image() const { return m_source; }
    [[nodiscard]] QString systemImage() const { return m_name; }
    [[nodiscard]] QColor color() const { return m_color; }
    /// From 0 to 1.
    [[nodiscard]] double progress() const { return m_progress; }
    [[nodiscard]] QVariantMap viewProperties() const { return m_properties; }

    friend bool operator==(const DynamicNotchInfoLabel &, const DynamicNotchInfoLabel &) = default;

private:
    Kind m_kind { None };
    QUrl m_source;
    QString m_name;
    QColor m_color { Qt::white };
    double m_progress { 0 };
    QVariantMap m_properties;
};

/// A surface that shows an icon, a title and a description, and a label at each side of the notch. What it shows can be
/// changed while it is shown. Main thread only.
class DynamicNotchInfo final : public QObject, public DynamicNotchControllable
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(vantry::DynamicNotchInfoLabel icon READ icon WRITE setIcon NOTIFY changed)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY changed)
    Q_PROPERTY(QString description READ description WRITE setDescription NOTIFY changed)
    Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor NOTIFY changed)
    Q_PROPERTY(vantry::DynamicNotchInfoLabel compactLeading READ compactLeading WRITE setCompactLeading NOTIFY changed)
    Q_PROPERTY(
        vantry::DynamicNotchInfoLabel compactTrailing READ compactTrailing WRITE setCompactTrailing NOTIFY changed)

public:
    /// The side of a label is disabled while there is none.
    explicit DynamicNotchInfo(const DynamicNotch::Surroundings &surroundings,
                              const DynamicNotch::Options &options = {});

    void expand(const ScreenInfo &screen, Done done = {}) override;
    void compact(const ScreenInfo &screen, Done done = {}) override;
    void hide(Done done = {}) override;
    void makeKeyWindow() override;
    [[nodiscard]] bool isHovering() const override { return m_notch.isHovering(); }

    [[nodiscard]] DynamicNotchInfoLabel icon() const { return m_icon; }
    void setIcon(const DynamicNotchInfoLabel &icon);
    [[nodiscard]] QString title() const { return m_title; }
    void setTitle(const QString &title);
    /// Empty: none.
    [[nodiscard]] QString description() const { return m_description; }
    void setDescription(const QString &description);
    [[nodiscard]] QColor textColor() const { return m_textColor; }
    void setTextColor(const QColor &color);
    [[nodiscard]] DynamicNotchInfoLabel compactLeading() const { return m_compactLeading; }
    void setCompactLeading(const DynamicNotchInfoLabel &label);
    [[nodiscard]] DynamicNotchInfoLabel compactTrailing() const { return m_compactTrailing; }
    void setCompactTrailing(const DynamicNotchInfoLabel &label);
    /// Reserved, as the transition's.
    [[nodiscard]] bool shouldSkipHideWhenConverting() const
    {
        return m_notch.transitionConfiguration().skipIntermediateHides;
    }
    [[nodiscard]] DynamicNotch &notch() { return m_notch; }

Q_SIGNALS:
    void changed();

private:
    [[nodiscard]] DynamicNotch::Contents contents();

    DynamicNotchInfoLabel m_icon;
    QString m_title;
    QString m_description;
    QColor m_textColor { Qt::white };
    DynamicNotchInfoLabel m_compactLeading;
    DynamicNotchInfoLabel m_compactTrailing;
    DynamicNotch m_notch;
};

} // namespace vantry
