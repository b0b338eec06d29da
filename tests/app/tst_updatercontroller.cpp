#include "Notifications.h"
#include "ReleaseFeed.h"
#include "SoundPlayer.h"
#include "TestData.h"
#include "UpdaterController.h"
#include "VersionNumber.h"
#include <QFile>
#include <QSoundEffect>
#include <QTemporaryDir>

#include <QHttpServer>
#include <QHttpServerResponse>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;
using Kind = UpdateCheckResult::Kind;

namespace {

QByteArray feed(const QString& version, const QString& build = QStringLiteral("1")) {
    return QString::fromUtf8(R"({"version":"%1","build":"%2","notes":"修复了若干问题",)"
                             R"("url":"https://example.org/tavik-%1.tar.gz"})")
        .arg(version, build)
        .toUtf8();
}

class FeedServer {
public:
    FeedServer() {
        m_http.route("/feed", [this] {
            ++hits;
            return QHttpServerResponse(QByteArrayLiteral("application/json"), body);
        });
        m_port = m_http.listen(QHostAddress::LocalHost);
    }
    [[nodiscard]] QUrl url(const QString& path = QStringLiteral("/feed")) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
    }

    QByteArray body;
    int hits = 0;

private:
    QHttpServer m_http;
    quint16 m_port = 0;
};

class CountingNetwork : public QNetworkAccessManager {
public:
    int requests = 0;

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& request,
                                 QIODevice* data) override {
        ++requests;
        return QNetworkAccessManager::createRequest(op, request, data);
    }
};

UpdaterController::Options options(const QUrl& feedUrl) {
    UpdaterController::Options options;
    options.feedUrl = feedUrl;
    options.currentVersion = QStringLiteral("1.2.0");
    options.currentBuild = QStringLiteral("7");
    options.requestTimeout = 5s;
    return options;
}

QVariantMap availability(bool available) {
    return {{QStringLiteral("available"), available}};
}

quint16 closedPort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

void copySounds(const QString& dir, const QString& skip) {
    for (const AppSound sound : {AppSound::create, AppSound::complete, AppSound::uncomplete,
                                 AppSound::celebration, AppSound::move}) {
        const QString name = AppSoundInfo::rawValue(sound);
        if (name != skip)
            QVERIFY(QFile::copy(SoundPlayer::resourceDirectory() + '/' + name + ".wav",
                                dir + '/' + name + ".wav"));
    }
}

} // namespace

class TestUpdaterController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void compareVersions_data() { TestData::addRows("versions.json"); }
    void parseFeed_data() { TestData::addRows("feeds.json"); }
    void probe_data() { TestData::addRows("probes.json"); }
    void visibleCheck_data() { TestData::addRows("checks.json"); }

    void compareVersions() {
        QFETCH(QJsonObject, row);
        const QString a = row[QStringLiteral("a")].toString();
        const QString b = row[QStringLiteral("b")].toString();
        const int order = row[QStringLiteral("order")].toInt();
        QCOMPARE(VersionNumber::compare(a, b), order);
        QCOMPARE(VersionNumber::compare(b, a), -order);
    }

    void parseFeed() {
        QFETCH(QJsonObject, row);
        const QString version = row[QStringLiteral("version")].toString();
        QString problem;
        const std::optional<ReleaseInfo> release =
            ReleaseFeed::parse(row[QStringLiteral("body")].toString().toUtf8(), &problem);
        QCOMPARE(release.has_value(), !version.isEmpty());
        QCOMPARE(problem.isEmpty(), release.has_value()); // a refusal always says why
        if (release) {
            QCOMPARE(release->version, version);
            QCOMPARE(release->build, row[QStringLiteral("build")].toString());
            QVERIFY(release->url.isValid());
            QCOMPARE(ReleaseFeed::isNewer(*release, QStringLiteral("1.2.0"), QStringLiteral("7")),
                     row[QStringLiteral("newer")].toBool());
        }
    }

    void probe() {
        QFETCH(QJsonObject, row);
        const bool before = row[QStringLiteral("before")].toBool();
        const bool after = row[QStringLiteral("after")].toBool();
        const QString logLine = row[QStringLiteral("log")].toString();

        FeedServer server;
        server.body = row[QStringLiteral("body")].toString().toUtf8();
        NotificationHub hub;
        UpdaterController updater(&m_network, hub,
                                  options(server.url(row[QStringLiteral("path")].toString())));
        updater.setUpdateAvailable(before);
        QSignalSpy posts(&hub, &NotificationHub::posted);
        QSignalSpy probes(&updater, &UpdaterController::probeFinished);
        QSignalSpy checks(&updater, &UpdaterController::checkFinished);

        const QtMsgType level =
            logLine.contains(QLatin1String("didAbortWithError")) ? QtWarningMsg : QtInfoMsg;
        QTest::ignoreMessage(level, QRegularExpression(logLine));
        updater.checkForUpdateInformation();
        QVERIFY(probes.wait(5000));

        QCOMPARE(updater.updateAvailable(), after);
        if (before == after) {
            QCOMPARE(posts.count(), 0);
        } else {
            QCOMPARE(posts.count(), 1);
            QCOMPARE(posts[0][0].toString(), TavikNotification::updateAvailabilityChanged);
            QCOMPARE(posts[0][1].toMap(), availability(after));
        }
        QCOMPARE(checks.count(), 0); // a probe shows nothing
        QVERIFY(!updater.isChecking());
    }

    void visibleCheck() {
        QFETCH(QJsonObject, row);
        const auto kind = Kind(QMetaEnum::fromType<Kind>().keyToValue(
            row[QStringLiteral("kind")].toString().toLatin1().constData()));
        const QString path = row[QStringLiteral("path")].toString();

        FeedServer server;
        server.body = row[QStringLiteral("body")].toString().toUtf8();
        NotificationHub hub;
        QUrl url = server.url(path);
        if (path == QLatin1String("refused"))
            url = QUrl(QStringLiteral("http://127.0.0.1:%1/feed").arg(closedPort()));
        else if (path == QLatin1String("none"))
            url = QUrl();
        const int requestsBefore = m_network.requests;
        UpdaterController updater(&m_network, hub, options(url));
        updater.setUpdateAvailable(true);
        QSignalSpy checks(&updater, &UpdaterController::checkFinished);
        QSignalSpy checking(&updater, &UpdaterController::checkingChanged);

        QTest::ignoreMessage(kind == Kind::Failed ? QtWarningMsg : QtInfoMsg,
                             QRegularExpression(QStringLiteral("^Tavik\\[updater\\]: ")));
        updater.checkForUpdates();
        QVERIFY(updater.isChecking());
        QVERIFY(checks.wait(5000));
        QCOMPARE(checks.count(), 1);
        QVERIFY(!updater.isChecking());
        QCOMPARE(checking.count(), 2);

        const auto result = checks[0][0].value<UpdateCheckResult>();
        QCOMPARE(result.kind, kind);
        QVERIFY2(result.message.startsWith(row[QStringLiteral("message")].toString()),
                 qPrintable(result.message));
        QCOMPARE(m_network.requests == requestsBefore, url.isEmpty());
        QCOMPARE(updater.updateAvailable(), kind != Kind::UpToDate);
        if (result.kind == Kind::UpdateFound) {
            QCOMPARE(result.version, QStringLiteral("1.3.0"));
            QCOMPARE(result.build, QStringLiteral("12"));
            QCOMPARE(result.notes, QStringLiteral("修复了若干问题"));
            QCOMPARE(result.downloadUrl,
                     QUrl(QStringLiteral("https://example.org/tavik-1.3.0.tar.gz")));
        }
    }

    void silentServer() {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/feed").arg(silent.serverPort()));
        const auto inFlight = [&silent] { // a new request really reached the server
            const bool arrived =
                QTest::qWaitFor([&] { return silent.hasPendingConnections(); }, 5000);
            while (silent.hasPendingConnections())
                silent.nextPendingConnection()->setParent(&silent);
            return arrived;
        };
        NotificationHub hub;
        QSignalSpy posts(&hub, &NotificationHub::posted);

        auto opts = options(url);
        opts.requestTimeout = 200ms;
        auto updater = std::make_unique<UpdaterController>(&m_network, hub, opts);
        updater->setUpdateAvailable(true);
        posts.clear();
        QSignalSpy given(updater.get(), &UpdaterController::checkFinished);
        QTest::ignoreMessage(QtWarningMsg, "Tavik[updater]: didAbortWithError 连接更新服务器超时");
        updater->checkForUpdates();
        QVERIFY(given.wait(5000));
        QCOMPARE(given[0][0].value<UpdateCheckResult>().kind, Kind::Failed);
        QCOMPARE(given[0][0].value<UpdateCheckResult>().message,
                 QStringLiteral("连接更新服务器超时"));
        QVERIFY(updater->updateAvailable());
        QVERIFY(!updater->isChecking());
        QCOMPARE(posts.count(), 0);
        QVERIFY(inFlight());

        updater = std::make_unique<UpdaterController>(&m_network, hub, options(url));
        QSignalSpy checks(updater.get(), &UpdaterController::checkFinished);
        updater->checkForUpdates();
        QVERIFY(inFlight());
        QTest::ignoreMessage(QtWarningMsg, "Tavik[updater]: didAbortWithError 已取消检查更新");
        updater->cancelCheck();
        QCOMPARE(checks.count(), 1);
        QCOMPARE(checks[0][0].value<UpdateCheckResult>().kind, Kind::Cancelled);
        QVERIFY(!updater->isChecking());
        QTest::qWait(100);
        QCOMPARE(checks.count(), 1);

        posts.clear();
        updater->checkForUpdates();
        QVERIFY(inFlight());
        updater.reset();
        QTest::qWait(100);
        QCOMPARE(posts.count(), 0);
    }

    void startProbesAndAnswersCheckRequests() {
        FeedServer server;
        server.body = feed(QStringLiteral("1.3.0"));
        NotificationHub hub;
        auto opts = options(server.url());
        opts.firstProbeDelay = 20ms;
        opts.probeInterval = 150ms;
        UpdaterController updater(&m_network, hub, opts);
        QSignalSpy checks(&updater, &UpdaterController::checkFinished);

        hub.post(TavikNotification::checkForUpdates);
        QTest::qWait(50);
        QCOMPARE(checks.count(), 0);
        QCOMPARE(server.hits, 0);

        updater.start();
        updater.start();
        QTRY_VERIFY_WITH_TIMEOUT(updater.updateAvailable(), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(server.hits >= 3, 5000); // the first probe, then the repeats

        hub.post(TavikNotification::checkForUpdates);
        QVERIFY(checks.wait(5000));
        QCOMPARE(checks[0][0].value<UpdateCheckResult>().kind, Kind::UpdateFound);
    }

    void oneRequestAtATime() {
        FeedServer server;
        server.body = feed(QStringLiteral("1.3.0"));
        CountingNetwork network;
        NotificationHub hub;
        UpdaterController updater(&network, hub, options(server.url()));
        QSignalSpy checks(&updater, &UpdaterController::checkFinished);
        QSignalSpy probes(&updater, &UpdaterController::probeFinished);

        updater.checkForUpdateInformation();
        updater.checkForUpdates();
        updater.checkForUpdates();
        updater.checkForUpdateInformation();
        QVERIFY(checks.wait(5000));
        QTest::qWait(50);

        QCOMPARE(network.requests, 1);
        QCOMPARE(server.hits, 1);
        QCOMPARE(checks.count(), 1);
        QCOMPARE(probes.count(), 0);
        QCOMPARE(checks[0][0].value<UpdateCheckResult>().kind, Kind::UpdateFound);
    }

    void replayReusesOnePlayerAndRestartsIt() {
        QVERIFY(SoundPlayer::missingSounds(SoundPlayer::resourceDirectory()).isEmpty());
        SoundPlayer player;
        player.setEnabled(false);
        player.play(AppSound::complete);
        QVERIFY(!player.cachedPlayer(QStringLiteral("toggle_on")));
        player.setEnabled(true);
        player.play(AppSound::complete);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("toggle_on"));
        QVERIFY(effect);
        QTRY_COMPARE(effect->status(), QSoundEffect::Ready);
        QTRY_VERIFY(effect->isPlaying());

        QSignalSpy playing(effect, &QSoundEffect::playingChanged);
        player.play(AppSound::complete);
        QCOMPARE(player.cachedPlayer(QStringLiteral("toggle_on")), effect);
        QCOMPARE(playing.count(), 2);
        QVERIFY(effect->isPlaying());
    }

    void brokenSoundsAreSilent() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        copySounds(dir.path(), QStringLiteral("swipe"));
        QCOMPARE(SoundPlayer::missingSounds(dir.path()), QStringList{QStringLiteral("swipe")});
        QFile bad(dir.path() + "/button.wav");
        QVERIFY(bad.open(QIODevice::WriteOnly | QIODevice::Truncate));
        bad.write("not a wave file at all");
        bad.close();

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("sound resource missing:.*swipe"));
        SoundPlayer player(dir.path());
        QTest::failOnWarning(QRegularExpression("swipe"));
        player.play(AppSound::move);
        player.play(AppSound::move);
        QVERIFY(!player.cachedPlayer(QStringLiteral("swipe")));

        player.play(AppSound::create);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("button"));
        QVERIFY(effect);
        QCOMPARE(effect->source(), QUrl::fromLocalFile(dir.path() + "/button.wav"));
        QTRY_VERIFY(!player.cachedPlayer(QStringLiteral("button")));
        player.play(AppSound::create);
        QVERIFY(player.cachedPlayer(QStringLiteral("button")));
    }

private:
    CountingNetwork m_network;
};

QTEST_GUILESS_MAIN(TestUpdaterController)
#include "tst_updatercontroller.moc"
