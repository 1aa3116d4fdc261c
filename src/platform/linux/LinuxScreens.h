#pragma once

#include "base/Scheduler.h"
#include "platform/OverlayWindows.h"
#include "platform/Screens.h"

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>

class QScreen;

namespace vantry {

/// The toolkit's screens, without what bars keep free, also of bars that come later. None of these screens has a notch
/// of its own. Main thread only.
class LinuxScreens final : public QObject, public Screens, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    /// After the application object. Both must outlive this.
    LinuxScreens(const OverlayWindows &overlays, Scheduler &scheduler);
    ~LinuxScreens() override;

    [[nodiscard]] QList<ScreenInfo> screens() const override;
    void setHasVirtualNotch(bool hasVirtualNotch) override;

    /// The screen of this frame, of which bars leave that area, with a virtual notch if it has room for one.
    [[nodiscard]] static ScreenInfo withVirtualNotch(const QString &name, const QRect &frame, const QRect &available);

private:
    void watch(QScreen *screen);
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    /// Has the observer told of what has changed by then, once for all that comes together.
    void changeSoon();
    void tellOfChanges();

    const OverlayWindows &m_overlays;
    Scheduler &m_scheduler;
    bool m_hasVirtualNotch { true };
    QList<ScreenInfo> m_told; ///< What the observer knows.
    ScheduledTimer m_telling;
    std::uint32_t m_workArea;   ///< Atoms; 0 without X11.
    std::uint32_t m_clientList; ///< A bar that comes or goes changes both, where there are several screens this alone.
};

} // namespace vantry
