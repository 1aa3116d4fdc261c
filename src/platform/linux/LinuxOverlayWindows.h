#pragma once

#include "platform/OverlayWindows.h"

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>
#include <unordered_map>

namespace vantry {

/// Windows of an X server, also of the one beside a Wayland desktop. It talks over the toolkit's own connection, to a
/// server that the toolkit waits for all the time anyway. On Wayland alone nothing of this can be done. Main thread
/// only.
class LinuxOverlayWindows final : public OverlayWindows, private QAbstractNativeEventFilter
{
public:
    /// After the application object.
    LinuxOverlayWindows();
    ~LinuxOverlayWindows() override;

    [[nodiscard]] bool canPlace() const override;
    [[nodiscard]] bool hasCompositor() const override;
    [[nodiscard]] bool seesPointer() const override;
    [[nodiscard]] QRect availableArea(const QScreen &screen) const override;
    [[nodiscard]] std::optional<WindowID> activeWindow() const override;
    void setUpOverlay(QWindow &window) override;
    void setInputArea(QWindow &window, const QRegion &area) override;
    void takeFocus(QWindow &window) override;
    void giveFocus(WindowID window) override;

private:
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    void selectionOwnerChanged();
    void applyInputArea(QWindow &window, const QRegion &area) const;
    [[nodiscard]] bool hasWindowManager() const;

    std::unordered_map<QWindow *, QRegion> m_inputAreas;
    QObject m_context; ///< For what is to end with this.
    bool m_hadCompositor { false };
    std::uint8_t m_selectionEvent { 0 }; ///< Number of the server's events about selections; 0 where there are none.
    std::uint32_t m_root { 0 };
    std::uint32_t m_activeWindow { 0 }; ///< Atoms from here on; 0 without X11.
    std::uint32_t m_managerCheck { 0 };
    std::uint32_t m_compositor { 0 };
    std::uint32_t m_desktop { 0 };
    std::uint32_t m_state { 0 };
    std::uint32_t m_skipTaskbar { 0 };
    std::uint32_t m_skipPager { 0 };
    std::uint32_t m_clientList { 0 };
    std::uint32_t m_strut { 0 };
};

} // namespace vantry
