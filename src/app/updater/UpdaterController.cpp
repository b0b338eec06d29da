#include "UpdaterController.h"

#include "AppVersion.h"
#include "Notifications.h"
#include "ReleaseFeed.h"

#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <utility>

namespace {

Q_LOGGING_CATEGORY(lcUpdater, "dev.orlen.tavik.updater")

QPointer<UpdaterController>& sharedInstance() {
    static QPointer<UpdaterController> instance;
    return instance;
}

QString displayVersion(const ReleaseInfo& release) {
    return release.build.isEmpty()
               ? release.version
               : release.version + QStringLiteral("（") + release.build + QStringLiteral("）");
}

} // namespace

UpdaterController::Options UpdaterController::Options::fromBuild() {
    Options options;
    options.feedUrl = AppVersion::updateFeedUrl();
    options.currentVersion = AppVersion::shortVersion();
    options.currentBuild = AppVersion::buildNumber();
    return options;
}

UpdaterController::UpdaterController(QNetworkAccessManager* network, NotificationHub& hub,
                                     Options options, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_hub(hub)
    , m_options(std::move(options)) {
    m_firstProbeTimer.setSingleShot(true);
    m_firstProbeTimer.setInterval(m_options.firstProbeDelay);
    connect(&m_firstProbeTimer, &QTimer::timeout, this,
            &UpdaterController::checkForUpdateInformation);

    m_probeTimer.setInterval(m_options.probeInterval);
    connect(&m_probeTimer, &QTimer::timeout, this, &UpdaterController::checkForUpdateInformation);

    m_timeoutTimer.setSingleShot(true);
    m_timeoutTimer.setInterval(m_options.requestTimeout);
    connect(&m_timeoutTimer, &QTimer::timeout, this,
            [this] { abortRequest(AbortReason::TimedOut); });
}

UpdaterController::~UpdaterController() {
    if (QNetworkReply* reply = m_reply.data()) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}

UpdaterController* UpdaterController::shared() {
    return sharedInstance().data();
}

void UpdaterController::setShared(UpdaterController* controller) {
    sharedInstance() = controller;
}

void UpdaterController::setUpdateAvailable(bool available) {
    if (m_updateAvailable == available)
        return;
    m_updateAvailable = available;
    emit updateAvailableChanged(available);
    m_hub.post(TavikNotification::updateAvailabilityChanged,
               {{QStringLiteral("available"), available}});
}

void UpdaterController::start() {
    if (m_started)
        return;
    m_started = true;

    // Queued, so the check never runs inside whoever posted the request.
    m_hub.observe(TavikNotification::checkForUpdates, this, [this](const QVariantMap&) {
        QMetaObject::invokeMethod(this, &UpdaterController::checkForUpdates, Qt::QueuedConnection);
    });

    if (!hasFeed()) {
        qCInfo(lcUpdater, "Tavik[updater]: no release feed configured, probes are off");
        return;
    }
    m_firstProbeTimer.start();
    m_probeTimer.start();
}

void UpdaterController::checkForUpdates() {
    if (m_interactive)
        return;
    m_interactive = true;
    emit checkingChanged();

    if (!hasFeed()) {
        // Answer after returning, as a network check would, so the caller sees one order.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!m_interactive || m_reply)
                    return;
                qCInfo(lcUpdater, "Tavik[updater]: no release feed configured, nothing to check");
                UpdateCheckResult result;
                result.kind = UpdateCheckResult::Kind::NotOffered;
                result.message = QStringLiteral("此版本不检查更新");
                finish(result);
            },
            Qt::QueuedConnection);
        return;
    }
    if (!m_reply)
        sendRequest();
}

void UpdaterController::checkForUpdateInformation() {
    if (!hasFeed() || m_reply)
        return;
    sendRequest();
}

void UpdaterController::cancelCheck() {
    if (m_reply)
        abortRequest(AbortReason::Cancelled);
    else if (m_interactive)
        finishWithError(UpdateCheckResult::Kind::Cancelled, QStringLiteral("已取消检查更新"));
}

bool UpdaterController::hasFeed() const {
    const QUrl& url = m_options.feedUrl;
    return url.isValid() && !url.isRelative();
}

void UpdaterController::sendRequest() {
    QNetworkRequest request(m_options.feedUrl);
    request.setRawHeader("Accept", "application/json");
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QStringLiteral("Tavik/%1").arg(m_options.currentVersion));
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);

    QNetworkReply* reply = m_network->get(request);
    m_reply = reply;
    connect(reply, &QNetworkReply::finished, this, [this, reply] { handleReply(reply); });
    connect(reply, &QNetworkReply::downloadProgress, this, [this, reply](qint64 received, qint64) {
        if (reply == m_reply && received > maxFeedBytes)
            abortRequest(AbortReason::TooLarge);
    });
    m_timeoutTimer.start();
}

void UpdaterController::handleReply(QNetworkReply* reply) {
    reply->deleteLater();
    if (reply != m_reply)
        return;
    m_reply = nullptr;
    m_timeoutTimer.stop();

    using Kind = UpdateCheckResult::Kind;
    // Branch on the HTTP status first: an error page is still a well-formed reply.
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && (status.toInt() < 200 || status.toInt() > 299)) {
        finishWithError(Kind::Failed,
                        QStringLiteral("无法获取更新信息（HTTP %1）").arg(status.toInt()));
        return;
    }
    if (reply->error() != QNetworkReply::NoError) {
        finishWithError(Kind::Failed,
                        QStringLiteral("无法连接更新服务器（%1）").arg(reply->errorString()));
        return;
    }

    const QByteArray body = reply->read(maxFeedBytes + 1);
    if (body.size() > maxFeedBytes) {
        finishWithError(Kind::Failed, QStringLiteral("更新信息过大"));
        return;
    }
    QString problem;
    const std::optional<ReleaseInfo> release = ReleaseFeed::parse(body, &problem);
    if (!release) {
        finishWithError(Kind::Failed, QStringLiteral("更新信息格式无效：") + problem);
        return;
    }

    UpdateCheckResult result;
    if (ReleaseFeed::isNewer(*release, m_options.currentVersion, m_options.currentBuild)) {
        qCInfo(lcUpdater, "Tavik[updater]: didFindValidUpdate %s",
               qUtf8Printable(release->version));
        setUpdateAvailable(true);
        result.kind = Kind::UpdateFound;
        result.message = QStringLiteral("发现新版本 ") + displayVersion(*release);
        result.version = release->version;
        result.build = release->build;
        result.notes = release->notes;
        result.downloadUrl = release->url;
    } else {
        qCInfo(lcUpdater, "Tavik[updater]: updaterDidNotFindUpdate");
        setUpdateAvailable(false);
        result.kind = Kind::UpToDate;
        result.message = QStringLiteral("已是最新版本");
    }
    finish(result);
}

// Ends the request here rather than in its finished signal: abort() reports
// OperationCanceledError whatever the cause, so the cause is only known at this point.
void UpdaterController::abortRequest(AbortReason reason) {
    QNetworkReply* reply = m_reply.data();
    if (!reply)
        return;
    m_reply = nullptr;
    m_timeoutTimer.stop();
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();

    using Kind = UpdateCheckResult::Kind;
    switch (reason) {
    case AbortReason::Cancelled:
        finishWithError(Kind::Cancelled, QStringLiteral("已取消检查更新"));
        break;
    case AbortReason::TimedOut:
        finishWithError(Kind::Failed, QStringLiteral("连接更新服务器超时"));
        break;
    case AbortReason::TooLarge:
        finishWithError(Kind::Failed, QStringLiteral("更新信息过大"));
        break;
    }
}

// A failed check changes nothing but the log; updateAvailable keeps its value.
void UpdaterController::finishWithError(UpdateCheckResult::Kind kind, const QString& message) {
    qCWarning(lcUpdater, "Tavik[updater]: didAbortWithError %s", qUtf8Printable(message));
    UpdateCheckResult result;
    result.kind = kind;
    result.message = message;
    finish(result);
}

void UpdaterController::finish(const UpdateCheckResult& result) {
    if (!m_interactive) {
        emit probeFinished(result);
        return;
    }
    // Cleared before the signal, so a slot may start the next check at once.
    m_interactive = false;
    emit checkingChanged();
    emit checkFinished(result);
}
