#pragma once

#include "app/PanelPlacement.h"
#include "platform/OverlayWindows.h"

#include <QObject>
#include <QQuickView>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace vantry {

class Appearance;
class MenuBarViewModel;

/// The window that the panel is in: a popover beside the tray icon, which goes when it loses the focus, or, where there
/// is no tray or windows can't be placed, an ordinary one. Opened by the user's own act alone; it takes the focus, and
/// gives it back to the window that had it. Main thread only.
class PanelWindow final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(bool isPopover READ isPopover NOTIFY formChanged)
    /// How much of the window, at each side, is for the panel's shadow; 0 where windows can't be translucent.
    Q_PROPERTY(int shadowMargin READ shadowMargin NOTIFY formChanged)

public:
    enum class Form { Popover, Window };
    enum class Closing {
        ByUser,   ///< The focus goes back to where it was.
        LostFocus ///< It is somewhere else already.
    };

    /// All of these must outlive this.
    struct Surroundings
    {
        QQmlEngine &engine;
        MenuBarViewModel &model;
        Appearance &appearance;
        OverlayWindows &overlays;
    };

    /// Loads the views; shows nothing.
    explicit PanelWindow(const Surroundings &surroundings);
    ~PanelWindow() override;

    /// Shows the panel, or brings the one that is shown forward. The anchor is for the popover.
    void open(Form form, const PanelAnchor &anchor);
    void close(Closing closing);
    [[nodiscard]] bool isOpen() const;
    /// Open, and has the focus.
    [[nodiscard]] bool isKey() const;

    [[nodiscard]] bool isPopover() const { return m_form == Form::Popover; }
    [[nodiscard]] int shadowMargin() const { return m_shadowMargin; }
    [[nodiscard]] QQuickView &view();

Q_SIGNALS:
    void formChanged();
    void keyChanged(bool isKey);
    void lostFocus();

private:
    class View;

    void takeForm(Form form);
    void activeChanged();
    void visibleChanged(bool visible);
    void fitToPanel();
    void setPanelGeometry(const QRect &panel);
    [[nodiscard]] QSize panelSize() const;

    const Surroundings m_surroundings;
    std::unique_ptr<View> m_view;
    Form m_form { Form::Popover };
    int m_shadowMargin { 0 };
    bool m_isKey { false };
    std::optional<OverlayWindows::WindowID> m_windowBefore; ///< Which had the focus when the panel was opened.
};

} // namespace vantry
