#pragma once

#include "platform/FileChooser.h"
#include "platform/linux/SessionBus.h"

#include <QDBusServiceWatcher>
#include <QObject>
#include <QPointer>
#include <QVariantMap>

#include <optional>

class QFileDialog;

namespace vantry {

/// The desktop's own dialog, by its portal on the session bus; without one the toolkit's. Needs the QApplication. Main
/// thread only.
class LinuxFileChooser final : public QObject, public FileChooser
{
    Q_OBJECT

public:
    explicit LinuxFileChooser(const QString &busAddress = sessionBusAddress());
    ~LinuxFileChooser() override;

    void chooseFile(const QString &message, const Filter &filter, Chosen chosen) override;
    void cancel() override;

private Q_SLOTS:
    // Found by name, as Qt connects signals of the bus.
    void takeResponse(uint response, const QVariantMap &results);

private:
    void connectToBus();
    void askPortal();
    void listen(const QString &request);
    void stopListening();
    void showToolkitDialog();
    void answer(const std::optional<QString> &path);

    const QString m_busAddress;
    std::optional<BusConnection> m_bus; ///< From the first question on.
    QDBusServiceWatcher m_watcher;
    QString m_message; ///< Of the question that is asked, as are the others.
    Filter m_filter;
    Chosen m_chosen;
    QString m_request; ///< The portal's object for the question; empty while it isn't asked.
    QPointer<QFileDialog> m_dialog;
    int m_questions { 0 }; ///< Asked up to now.
};

} // namespace vantry
