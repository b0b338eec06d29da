#pragma once

#include "UpdateCheckResult.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>

class NotificationHub;
class QNetworkAccessManager;
class QNetworkReply;

// Knows whether a newer release exists. It probes the release feed quietly after launch and
// every few hours, and runs a visible check when the user asks for one (the board's update
// pill posts tavikCheckForUpdates; the settings window calls checkForUpdates directly).
// Only one request is in flight at a time: a check asked for during a probe takes over the
// probe's answer. Every change of updateAvailable is posted as tavikUpdateAvailabilityChanged.
class UpdaterController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool updateAvailable READ updateAvailable WRITE setUpdateAvailable NOTIFY
                   updateAvailableChanged)
    Q_PROPERTY(bool checking READ isChecking NOTIFY checkingChanged)

public:
    struct Options {
        QUrl feedUrl;           // empty: the controller never touches the network
        QString currentVersion; // the running build, compared with the feed
        QString currentBuild;
        std::chrono::milliseconds firstProbeDelay{1500};
        std::chrono::milliseconds probeInterval{std::chrono::hours(4)};
        // A feed server that accepts the connection but never answers is given up after this.
        std::chrono::milliseconds requestTimeout{std::chrono::seconds(30)};

        // The feed, version and build this binary was configured with.
        [[nodiscard]] static Options fromBuild();
    };

    // A feed larger than this is refused; a real one is a few hundred bytes.
    static constexpr qint64 maxFeedBytes = 256 * 1024;

    UpdaterController(QNetworkAccessManager* network, NotificationHub& hub, Options options,
                      QObject* parent = nullptr);
    ~UpdaterController() override;

    // The process-wide instance that main installs; null before that.
    [[nodiscard]] static UpdaterController* shared();
    static void setShared(UpdaterController* controller);

    [[nodiscard]] bool updateAvailable() const { return m_updateAvailable; }
    void setUpdateAvailable(bool available);

    // True from checkForUpdates until its checkFinished.
    [[nodiscard]] bool isChecking() const { return m_interactive; }

    [[nodiscard]] const Options& options() const { return m_options; }

    // Answers tavikCheckForUpdates and arms the probes. Called once at launch; later calls do
    // nothing.
    void start();

public slots:
    // A check the user asked for; ends with exactly one checkFinished.
    void checkForUpdates();
    // A silent probe: it only updates updateAvailable and the log.
    void checkForUpdateInformation();
    // Calls off the request in flight. A visible check ends with a Cancelled result.
    void cancelCheck();

signals:
    void updateAvailableChanged(bool available);
    void checkingChanged();
    // The end of a check the user asked for: what the update dialog shows.
    void checkFinished(const UpdateCheckResult& result);
    // The end of a silent probe, for the log's sake and for tests; nothing is shown.
    void probeFinished(const UpdateCheckResult& result);

private:
    enum class AbortReason { Cancelled, TimedOut, TooLarge };

    [[nodiscard]] bool hasFeed() const;
    void sendRequest();
    void handleReply(QNetworkReply* reply);
    void abortRequest(AbortReason reason);
    void finishWithError(UpdateCheckResult::Kind kind, const QString& message);
    void finish(const UpdateCheckResult& result);

    QNetworkAccessManager* m_network;
    NotificationHub& m_hub;
    Options m_options;
    bool m_updateAvailable = false;
    bool m_started = false;
    bool m_interactive = false; // a visible check waits for the request in flight
    QPointer<QNetworkReply> m_reply;
    QTimer m_firstProbeTimer;
    QTimer m_probeTimer;
    QTimer m_timeoutTimer;
};
