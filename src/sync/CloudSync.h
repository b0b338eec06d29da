#pragma once

#include "CalDavClient.h"
#include "CloudSyncMonitor.h"
#include "MirrorStore.h"
#include "SyncScheduler.h"
#include "TavikContainer.h"

#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>

class CalDavMirror;
class Clock;
class ModelContext;
class NotificationHub;
class PowerProfile;
class QNetworkAccessManager;

// The mirror of one account as the running app holds it: the store's mirror tables, the
// CalDAV client, the mirror, its schedule and the monitor that the settings section shows.
// Connecting or disconnecting rebuilds these at once, so a new monitor replaces the old one.
class CloudSync : public QObject {
    Q_OBJECT
    Q_PROPERTY(CloudSyncMonitor* monitor READ monitor NOTIFY monitorChanged)
public:
    struct Environment {
        QNetworkAccessManager* network;
        const Clock& clock;
        NotificationHub& hub;
        PowerProfile* power; // may be null
    };

    CloudSync(const Environment& environment, const SyncScheduler::Timing& timing,
              QObject* parent = nullptr);
    ~CloudSync() override;

    // Binds the mirror to the store (the container's attacher); touches no network. False
    // with the reason when the store's mirror tables cannot be made.
    bool attach(ModelContext& context, const CalDavClient::Account& account, QString* reason);
    // The monitor for what became of the mirror at open, and the schedule when it is active.
    // `systemBus` (wake from suspend) may be null.
    void start(ModelContext& context, const TavikContainer::SyncAvailability& availability,
               const QDBusConnection* systemBus = nullptr);

    // The account read at launch, after the store opened local (`opening`): the mirror
    // attaches and its schedule starts, or it stays off with the reason, which is returned.
    // Does nothing once the user has connected or disconnected meanwhile.
    QString finishOpening(const CalDavClient::Account& account, const QString& passwordProblem);
    // A connect or disconnect made while running.
    void connectAccount(const CalDavClient::Account& account);
    void disconnectAccount();
    // One run as soon as the server allows.
    Q_INVOKABLE void syncNow();
    // Lets go of the store (the mirror and its hold on the file), before the store closes.
    void detach();

    [[nodiscard]] CloudSyncMonitor* monitor() const { return m_monitor.get(); }
    [[nodiscard]] CalDavMirror* mirror() const { return m_mirror.get(); }

signals:
    void monitorChanged();
    // An import ended well: tasks from other devices are on the board.
    void importFinished();

private:
    void setMonitor(const TavikContainer::SyncAvailability& availability);

    Environment m_env;
    SyncScheduler::Timing m_timing;
    ModelContext* m_context = nullptr;
    bool m_opening = false;
    std::optional<QDBusConnection> m_systemBus;
    MirrorStore m_store;
    std::unique_ptr<CalDavClient> m_client;
    std::unique_ptr<CalDavMirror> m_mirror;
    std::unique_ptr<SyncScheduler> m_scheduler;
    std::unique_ptr<CloudSyncMonitor> m_monitor;
};
