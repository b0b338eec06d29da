#include "Notifications.h"
#include "ReleaseFeed.h"
#include "UpdaterController.h"
#include "VersionNumber.h"

#include <QHttpServer>
#include <QHttpServerResponse>
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

// The feed as a real HTTP server on loopback serves it; other paths answer 404.
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

// Counts the requests that really leave the process.
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

// A port that was just free: connecting to it is refused.
quint16 closedPort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

class TestUpdaterController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void compareVersions_data();
    void compareVersions();
    void parseFeed_data();
    void parseFeed();
    void newerRelease_data();
    void newerRelease();

    void probe_data();
    void probe();
    void visibleCheck_data();
    void visibleCheck();
    void silentServerIsGivenUp();
    void cancelIsNotATimeout();
    void startProbesAndAnswersCheckRequests();
    void emptyFeedNeverTouchesTheNetwork();
    void oneRequestAtATime();
    void destroyedWhileWaiting();

private:
    CountingNetwork m_network;
};

void TestUpdaterController::compareVersions_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("order");
    const auto row = [](const char* a, const char* b, int order) {
        QTest::newRow(qPrintable(QStringLiteral("%1 vs %2").arg(a, b))) << a << b << order;
    };
    row("1.10", "1.9", 1);                                       // numeric, not textual
    row("1.2", "1.2.0", 0);                                      // trailing zero
    row("1.2.0.1", "1.2", 1);                                    // longer is newer
    row("01.002", "1.2", 0);                                     // leading zeros
    row("1.100000000000000000000", "1.99999999999999999999", 1); // beyond 64 bits
    row("1.3-beta", "1.2", 0);                                   // a suffix is not a version
    row("1..3", "1.2", 0);                                       // empty component
}

void TestUpdaterController::compareVersions() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, order);
    QCOMPARE(VersionNumber::compare(a, b), order);
    QCOMPARE(VersionNumber::compare(b, a), -order);
}

void TestUpdaterController::parseFeed_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("version"); // empty: the feed is refused
    QTest::addColumn<QString>("build");
    const auto row = [](const char* tag, const QByteArray& body, const char* version,
                        const char* build) { QTest::newRow(tag) << body << version << build; };
    row("complete", feed(QStringLiteral("1.3.0"), QStringLiteral("42")), "1.3.0", "42");
    row("build as number, extra member",
        R"({"version":" 1.3 ","build":42,"url":"http://h/t","channel":"b"})", "1.3", "42");
    row("no build", R"({"version":"1.3","url":"https://h/t"})", "1.3", "");
    row("truncated", feed(QStringLiteral("1.3")).chopped(3), "", "");
    row("array", R"([{"version":"1.3"}])", "", "");
    row("version as number", R"({"version":1.10,"url":"https://h/t"})", "", "");
    row("fractional build", R"({"version":"1.3","build":4.5,"url":"https://h/t"})", "", "");
    row("notes as list", R"({"version":"1.3","notes":["a"],"url":"https://h/t"})", "", "");
    row("relative url", R"({"version":"1.3","url":"/t.tar.gz"})", "", "");
    row("file url", R"({"version":"1.3","url":"file:///etc/passwd"})", "", "");
}

void TestUpdaterController::parseFeed() {
    QFETCH(QByteArray, body);
    QFETCH(QString, version);
    QFETCH(QString, build);

    QString problem;
    const std::optional<ReleaseInfo> release = ReleaseFeed::parse(body, &problem);
    QCOMPARE(release.has_value(), !version.isEmpty());
    QCOMPARE(problem.isEmpty(), release.has_value()); // a refusal always says why
    if (release) {
        QCOMPARE(release->version, version);
        QCOMPARE(release->build, build);
        QVERIFY(release->url.isValid());
    }
}

void TestUpdaterController::newerRelease_data() {
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("build");
    QTest::addColumn<bool>("newer");
    // The running build is 1.2.0, build 7.
    QTest::newRow("higher version, lower build") << "1.10"
                                                 << "1" << true;
    QTest::newRow("same version, rebuilt") << "1.2.0"
                                           << "8" << true;
    QTest::newRow("same version, build as text") << "1.2.0"
                                                 << "nightly" << false;
    QTest::newRow("older version, higher build") << "1.1.9"
                                                 << "99" << false;
}

void TestUpdaterController::newerRelease() {
    QFETCH(QString, version);
    QFETCH(QString, build);
    QFETCH(bool, newer);
    const ReleaseInfo release{version, build, {}, QUrl(QStringLiteral("https://h/t"))};
    QCOMPARE(ReleaseFeed::isNewer(release, QStringLiteral("1.2.0"), QStringLiteral("7")), newer);
}

void TestUpdaterController::probe_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("after");
    QTest::addColumn<QString>("logLine");

    const QByteArray newer = feed(QStringLiteral("1.3.0"));
    const QByteArray same = feed(QStringLiteral("1.2"), QStringLiteral("7"));
    const QByteArray older = feed(QStringLiteral("1.1.5"), QStringLiteral("100"));

    QTest::newRow("newer") << "/feed" << newer << false << true
                           << "Tavik\\[updater\\]: didFindValidUpdate 1\\.3\\.0$";
    QTest::newRow("same") << "/feed" << same << false << false
                          << "^Tavik\\[updater\\]: updaterDidNotFindUpdate$";
    QTest::newRow("older clears") << "/feed" << older << true << false
                                  << "^Tavik\\[updater\\]: updaterDidNotFindUpdate$";
    QTest::newRow("malformed keeps") << "/feed" << QByteArray("{\"version\":") << true << true
                                     << "^Tavik\\[updater\\]: didAbortWithError 更新信息格式无效";
    QTest::newRow("404 keeps") << "/missing" << newer << true << true
                               << "^Tavik\\[updater\\]: didAbortWithError .*HTTP 404";
}

void TestUpdaterController::probe() {
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(bool, before);
    QFETCH(bool, after);
    QFETCH(QString, logLine);

    FeedServer server;
    server.body = body;
    NotificationHub hub;
    UpdaterController updater(&m_network, hub, options(server.url(path)));
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

void TestUpdaterController::visibleCheck_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("message");

    // Each row's server answers on its own port; only the path and body matter here.
    QTest::newRow("newer") << QUrl(QStringLiteral("/feed")) << feed("1.3.0", "12")
                           << int(Kind::UpdateFound) << QStringLiteral("发现新版本 1.3.0（12）");
    QTest::newRow("same") << QUrl(QStringLiteral("/feed")) << feed("1.2.0", "7")
                          << int(Kind::UpToDate) << QStringLiteral("已是最新版本");
    QTest::newRow("404") << QUrl(QStringLiteral("/missing")) << feed("1.3.0") << int(Kind::Failed)
                         << QStringLiteral("无法获取更新信息（HTTP 404）");
    QTest::newRow("refused") << QUrl(QStringLiteral("http://127.0.0.1:%1/feed").arg(closedPort()))
                             << QByteArray() << int(Kind::Failed)
                             << QStringLiteral("无法连接更新服务器（");
}

void TestUpdaterController::visibleCheck() {
    QFETCH(QUrl, url);
    QFETCH(QByteArray, body);
    QFETCH(int, kind);
    QFETCH(QString, message);

    FeedServer server;
    server.body = body;
    NotificationHub hub;
    UpdaterController updater(&m_network, hub,
                              options(url.isRelative() ? server.url(url.path()) : url));
    updater.setUpdateAvailable(true);
    QSignalSpy checks(&updater, &UpdaterController::checkFinished);
    QSignalSpy checking(&updater, &UpdaterController::checkingChanged);

    QTest::ignoreMessage(kind == int(Kind::Failed) ? QtWarningMsg : QtInfoMsg,
                         QRegularExpression(QStringLiteral("^Tavik\\[updater\\]: ")));
    updater.checkForUpdates();
    QVERIFY(updater.isChecking());
    QVERIFY(checks.wait(5000));
    QCOMPARE(checks.count(), 1);
    QVERIFY(!updater.isChecking());
    QCOMPARE(checking.count(), 2);

    const auto result = checks[0][0].value<UpdateCheckResult>();
    QCOMPARE(int(result.kind), kind);
    QVERIFY2(result.message.startsWith(message), qPrintable(result.message));
    // Only an answer that finds nothing newer clears the flag; a failure leaves it.
    QCOMPARE(updater.updateAvailable(), kind != int(Kind::UpToDate));
    if (result.kind == Kind::UpdateFound) {
        QCOMPARE(result.version, QStringLiteral("1.3.0"));
        QCOMPARE(result.build, QStringLiteral("12"));
        QCOMPARE(result.notes, QStringLiteral("修复了若干问题"));
        QCOMPARE(result.downloadUrl,
                 QUrl(QStringLiteral("https://example.org/tavik-1.3.0.tar.gz")));
    }
}

void TestUpdaterController::silentServerIsGivenUp() {

    // Accepts connections (the kernel completes them) and never answers.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    NotificationHub hub;
    auto opts = options(QUrl(QStringLiteral("http://127.0.0.1:%1/feed").arg(silent.serverPort())));
    opts.requestTimeout = 200ms;
    UpdaterController updater(&m_network, hub, opts);
    updater.setUpdateAvailable(true);
    QSignalSpy posts(&hub, &NotificationHub::posted);
    QSignalSpy done(&updater, &UpdaterController::checkFinished);

    QTest::ignoreMessage(QtWarningMsg, "Tavik[updater]: didAbortWithError 连接更新服务器超时");
    updater.checkForUpdates();
    QVERIFY(done.wait(5000));

    const auto result = done[0][0].value<UpdateCheckResult>();
    QCOMPARE(result.kind, Kind::Failed);
    QCOMPARE(result.message, QStringLiteral("连接更新服务器超时"));
    QVERIFY(updater.updateAvailable());
    QCOMPARE(posts.count(), 0);
    QVERIFY(!updater.isChecking());
}

void TestUpdaterController::cancelIsNotATimeout() {
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    NotificationHub hub;
    UpdaterController updater(
        &m_network, hub,
        options(QUrl(QStringLiteral("http://127.0.0.1:%1/feed").arg(silent.serverPort()))));
    QSignalSpy checks(&updater, &UpdaterController::checkFinished);

    updater.checkForUpdates();
    QTRY_VERIFY_WITH_TIMEOUT(silent.hasPendingConnections(), 5000); // really in flight
    QTest::ignoreMessage(QtWarningMsg, "Tavik[updater]: didAbortWithError 已取消检查更新");
    updater.cancelCheck();

    QCOMPARE(checks.count(), 1);
    QCOMPARE(checks[0][0].value<UpdateCheckResult>().kind, Kind::Cancelled);
    QVERIFY(!updater.isChecking());
    // The reply's own canceled error arrives later and must not report a second time.
    QTest::qWait(100);
    QCOMPARE(checks.count(), 1);
}

void TestUpdaterController::startProbesAndAnswersCheckRequests() {
    FeedServer server;
    server.body = feed(QStringLiteral("1.3.0"));
    NotificationHub hub;
    auto opts = options(server.url());
    opts.firstProbeDelay = 20ms;
    opts.probeInterval = 150ms;
    UpdaterController updater(&m_network, hub, opts);
    QSignalSpy checks(&updater, &UpdaterController::checkFinished);

    // Before start, a request from the board goes unanswered.
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

void TestUpdaterController::emptyFeedNeverTouchesTheNetwork() {
    CountingNetwork network;
    NotificationHub hub;
    auto opts = options({});
    opts.firstProbeDelay = 0ms;
    opts.probeInterval = 20ms;
    UpdaterController updater(&network, hub, opts);
    QSignalSpy checks(&updater, &UpdaterController::checkFinished);

    updater.start();
    updater.checkForUpdateInformation();
    hub.post(TavikNotification::checkForUpdates);
    QVERIFY(checks.wait(5000));
    QTest::qWait(100);

    QCOMPARE(network.requests, 0);
    QCOMPARE(checks.count(), 1);
    const auto result = checks[0][0].value<UpdateCheckResult>();
    QCOMPARE(result.kind, Kind::Failed);
    QCOMPARE(result.message, QStringLiteral("此版本没有配置更新地址"));
}

void TestUpdaterController::oneRequestAtATime() {
    FeedServer server;
    server.body = feed(QStringLiteral("1.3.0"));
    CountingNetwork network;
    NotificationHub hub;
    UpdaterController updater(&network, hub, options(server.url()));
    QSignalSpy checks(&updater, &UpdaterController::checkFinished);
    QSignalSpy probes(&updater, &UpdaterController::probeFinished);

    // A check asked for during a probe takes the probe's answer; repeats are no-ops.
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

void TestUpdaterController::destroyedWhileWaiting() {
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    NotificationHub hub;
    QSignalSpy posts(&hub, &NotificationHub::posted);
    auto updater = std::make_unique<UpdaterController>(
        &m_network, hub,
        options(QUrl(QStringLiteral("http://127.0.0.1:%1/feed").arg(silent.serverPort()))));
    updater->checkForUpdates();
    QTRY_VERIFY_WITH_TIMEOUT(silent.hasPendingConnections(), 5000);

    updater.reset();
    QTest::qWait(100); // the aborted reply finishes into nothing
    QCOMPARE(posts.count(), 0);
}

QTEST_GUILESS_MAIN(TestUpdaterController)
#include "tst_updatercontroller.moc"
