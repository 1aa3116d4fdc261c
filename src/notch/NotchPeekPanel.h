#pragma once

#include "base/Scheduler.h"
#include "notch/NotchSurfaces.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

class QQmlEngine;
class QQuickView;

namespace vantry {

class Appearance;
class OverlayWindows;

/// Where the card stands: centred on the screen, a bit below the notch. In the desktop's logical pixels.
[[nodiscard]] QRect peekCardFrame(const ScreenInfo &screen, double textScale);

/// The peek card's window: above all others, on all desktops, takes no focus. There is a window only while a card is
/// shown or fades out. Where windows can't be placed, there is none at all. Main thread only.
class NotchPeekPanel final : public QObject, public PeekPanel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(vantry::NotchPeekCardModel *card READ card NOTIFY cardChanged)
    /// False while the card fades out.
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    /// How much of the window, at each side, is for the card's shadow; 0 where windows can't be translucent.
    Q_PROPERTY(int shadowMargin READ shadowMargin NOTIFY shadowMarginChanged)
    Q_PROPERTY(int fadeInMs READ fadeInMs CONSTANT)
    Q_PROPERTY(int fadeOutMs READ fadeOutMs CONSTANT)

public:
    static constexpr std::chrono::milliseconds fadeIn { 200 };
    static constexpr std::chrono::milliseconds fadeOut { 150 };

    /// All of it must outlive this.
    struct Surroundings
    {
        std::function<QQmlEngine &()> engine; ///< Called when the first card is shown.
        Appearance &appearance;
        OverlayWindows &overlays;
        Scheduler &scheduler;
    };

    explicit NotchPeekPanel(Surroundings surroundings);
    ~NotchPeekPanel() override;

    void open(const std::shared_ptr<NotchPeekCardModel> &card, const ScreenInfo &screen) override;
    void close(Closing closing) override;

    [[nodiscard]] NotchPeekCardModel *card() const { return m_card.get(); }
    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] int shadowMargin() const { return m_shadowMargin; }
    [[nodiscard]] static int fadeInMs() { return static_cast<int>(fadeIn.count()); }
    [[nodiscard]] static int fadeOutMs() { return static_cast<int>(fadeOut.count()); }
    /// Null while there is no window.
    [[nodiscard]] QQuickView *view() const { return m_view.get(); }

Q_SIGNALS:
    void cardChanged();
    void isOpenChanged();
    void shadowMarginChanged();
    /// A card is shown from now on; it fades in from nothing.
    void opened();

private:
    void makeView();
    void setOpen(bool isOpen);
    void fit();
    void drop();

    const Surroundings m_surroundings;
    std::shared_ptr<NotchPeekCardModel> m_card; ///< Until it has faded out.
    std::unique_ptr<QQuickView> m_view;         ///< Shows the card.
    ScreenInfo m_screen;
    bool m_isOpen { false };
    int m_shadowMargin { 0 };
    ScheduledTimer m_fadeOutEnd;
};

} // namespace vantry
