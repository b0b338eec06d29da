#include "Clock.h"
#include "CloudSyncMonitor.h"
#include "DbusMockServer.h"
#include "Notifications.h"
#include "PowerProfile.h"

#include <QSignalSpy>

namespace {

using State = CloudSyncMonitor::State;
using Availability = TavikContainer::SyncAvailability;

const QString retryText = QStringLiteral("同步暂时失败，稍后会自动重试");
const QString signInText = QStringLiteral("未登录同步账户 — 在设置中登录后会自动恢复同步");
const QString onFooter = QStringLiteral("任务通过你的 CalDAV 服务器在所有设备间自动同步。");
const QString offFooter = QStringLiteral("登录同步账户后，任务会自动在你的所有设备之间同步。");

// "import+" starts an import; "import-" ends it well; "export-507" ends it with that HTTP
// status, "setup-net" with no network. Each event is one second after the one before.
MirrorEvent mirrorEvent(const QString& token, const QDateTime& at) {
    static const QHash<QString, MirrorEvent::Type> types{
        {QStringLiteral("setup"), MirrorEvent::Type::setup},
        {QStringLiteral("import"), MirrorEvent::Type::import},
        {QStringLiteral("export"), MirrorEvent::Type::exportChanges}};
    const qsizetype sign = token.indexOf(QRegularExpression(QStringLiteral("[+-]")));
    MirrorEvent e{types.value(token.left(sign)), at.addSecs(-1), {}, {}};
    if (token.at(sign) == QLatin1Char('-')) {
        e.endedAt = at;
        const QString error = token.mid(sign + 1);
        if (error == QLatin1String("net"))
            e.error = CalDavError::network(QStringLiteral("refused"));
        else if (!error.isEmpty())
            e.error = CalDavError::fromStatus(error.toInt(), {});
    }
    return e;
}

} // namespace

class TestCloudSyncMonitor : public QObject {
    Q_OBJECT
private:
    ManualClock m_clock{QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC)};

private slots:
    // What the section says after a run of events, and what a finished import sets off.
    void events_data() {
        QTest::addColumn<int>("availability");
        QTest::addColumn<QString>("events");
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<int>("posts");
        QTest::addColumn<int>("lastSyncedSecsAgo"); // -1: never

        const int active = int(Availability::Kind::active);
        QTest::newRow("no account")
            << int(Availability::Kind::localOnly) << "setup+ import-" << State::Off << "未开启"
            << "" << 0 << -1;
        QTest::newRow("account not attached")
            << int(Availability::Kind::unavailable) << "import+ import-" << State::Off << "未开启"
            << "云同步不可用，数据仅保存在本机" << 0 << -1;
        QTest::newRow("attached, no event yet") << active << "" << State::Idle << "已开启"
                                                << "等待首次同步" << 0 << -1;
        QTest::newRow("running") << active << "setup+" << State::Syncing << "正在同步…"
                                 << "" << 0 << -1;
        QTest::newRow("a full sync")
            << active << "setup+ setup- import+ import- export+ export-" << State::Idle << "已开启"
            << "上次同步 刚刚" << 1 << 0;
        QTest::newRow("an export posts nothing")
            << active << "export+ export-" << State::Idle << "已开启"
            << "上次同步 刚刚" << 0 << 0;
        QTest::newRow("a failed import posts nothing, keeps the last sync")
            << active << "import+ import- import+ import-500" << State::Error << "同步遇到问题"
            << retryText << 1 << 2;
        QTest::newRow("no network")
            << active << "setup+ setup-net" << State::Error << "同步遇到问题"
            << "网络不可用，恢复后会自动重试" << 0 << -1;
        QTest::newRow("401") << active << "setup-401" << State::Error << "同步遇到问题"
                             << signInText << 0 << -1;
        QTest::newRow("403") << active << "export-403" << State::Error << "同步遇到问题"
                             << signInText << 0 << -1;
        QTest::newRow("storage full") << active << "export-507" << State::Error << "同步遇到问题"
                                      << "同步服务器储存空间已满" << 0 << -1;
        QTest::newRow("412 left after retries")
            << active << "export-412" << State::Error << "同步遇到问题" << retryText << 0 << -1;
        QTest::newRow("an error lasts until the next event starts")
            << active << "export-503 import+" << State::Syncing << "正在同步…"
            << "" << 0 << -1;
        QTest::newRow("a later success clears it")
            << active << "export-503 import+ import-" << State::Idle << "已开启"
            << "上次同步 刚刚" << 1 << 0;
        QTest::newRow("one event ends while another runs")
            << active << "import+ export+ import-" << State::Idle << "已开启"
            << "上次同步 刚刚" << 1 << 0;
    }
    void events() {
        QFETCH(int, availability);
        QFETCH(QString, events);
        QFETCH(State, state);
        QFETCH(QString, title);
        QFETCH(QString, detail);
        QFETCH(int, posts);
        QFETCH(int, lastSyncedSecsAgo);

        NotificationHub hub;
        QSignalSpy posted(&hub, &NotificationHub::posted);
        Availability kind{Availability::Kind(availability), QStringLiteral("no password")};
        CloudSyncMonitor monitor(kind, hub, m_clock, nullptr);
        QSignalSpy imported(&monitor, &CloudSyncMonitor::importFinished);
        for (const QString& token : events.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            m_clock.advance(1000);
            monitor.handle(mirrorEvent(token, m_clock.now()));
        }
        QCOMPARE(monitor.state(), state);
        QCOMPARE(monitor.title(), title);
        QCOMPARE(monitor.detail(), detail);
        QCOMPARE(monitor.footer(), state == State::Off ? offFooter : onFooter);
        QCOMPARE(posted.size(), posts);
        for (const QList<QVariant>& post : posted)
            QCOMPARE(post.first().toString(), TavikNotification::tasksChanged);
        QCOMPARE(imported.size(), posts);
        if (lastSyncedSecsAgo < 0)
            QVERIFY(!monitor.lastSyncedAt().isValid());
        else
            QCOMPARE(monitor.lastSyncedAt().secsTo(m_clock.now()), lastSyncedSecsAgo);
    }

    void relativeTime_data() {
        QTest::addColumn<int>("secondsAgo");
        QTest::addColumn<QString>("text");
        QTest::newRow("59 s") << 59 << "刚刚";
        QTest::newRow("60 s") << 60 << "1分钟前";
        QTest::newRow("59 min") << 59 * 60 + 59 << "59分钟前";
        QTest::newRow("3 h") << 3 * 3600 << "3小时前";
        QTest::newRow("2 days") << 2 * 86400 << "2天前";
        QTest::newRow("3 weeks") << 21 * 86400 << "3周前";
        QTest::newRow("a clock set back") << -30 << "刚刚";
    }
    void relativeTime() {
        QFETCH(int, secondsAgo);
        QFETCH(QString, text);
        QCOMPARE(CloudSyncMonitor::relativeTime(m_clock.now().addSecs(-secondsAgo), m_clock.now()),
                 text);
    }

    // Low-power mode follows the desktop's power profile while sync is on, and reads false
    // where no profile daemon runs or it goes away.
    void lowPowerMode() {
        const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        if (address.isEmpty())
            QFAIL("run under dbus-run-session");
        QDBusConnection bus = QDBusConnection::sessionBus();
        NotificationHub hub;
        const Availability active{Availability::Kind::active, {}};
        {
            PowerProfile none(bus);
            QVERIFY(!none.powerSaving());
        }
        DbusMockServer daemon(bus, address, QStringLiteral("power_profiles_daemon"),
                              QStringLiteral("net.hadess.PowerProfiles"),
                              QStringLiteral("/net/hadess/PowerProfiles"),
                              QStringLiteral(R"({"ActiveProfile": "power-saver"})"));
        QVERIFY(daemon.start());
        PowerProfile power(bus);
        QVERIFY(power.powerSaving());
        CloudSyncMonitor on(active, hub, m_clock, &power);
        CloudSyncMonitor off({Availability::Kind::localOnly, {}}, hub, m_clock, &power);
        QVERIFY(on.lowPowerMode());
        on.handle(mirrorEvent(QStringLiteral("import+"), m_clock.now()));
        QCOMPARE(on.detail(), QStringLiteral("低电量模式下系统会推迟同步，关闭后自动继续"));

        QDBusMessage set = QDBusMessage::createMethodCall(
            QStringLiteral("net.hadess.PowerProfiles"), QStringLiteral("/net/hadess/PowerProfiles"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
        set << QStringLiteral("net.hadess.PowerProfiles") << QStringLiteral("ActiveProfile")
            << QVariant::fromValue(QDBusVariant(QStringLiteral("balanced")));
        QCOMPARE(bus.call(set).type(), QDBusMessage::ReplyMessage);
        QTRY_VERIFY(!on.lowPowerMode());
        QCOMPARE(on.detail(), QString());
        QVERIFY(off.lowPowerMode()); // `off` keeps its first value

        set.setArguments({QStringLiteral("net.hadess.PowerProfiles"),
                          QStringLiteral("ActiveProfile"),
                          QVariant::fromValue(QDBusVariant(QStringLiteral("power-saver")))});
        QCOMPARE(bus.call(set).type(), QDBusMessage::ReplyMessage);
        QTRY_VERIFY(on.lowPowerMode());
        daemon.stop();
        QTRY_VERIFY(!on.lowPowerMode());
    }
};

QTEST_GUILESS_MAIN(TestCloudSyncMonitor)
#include "tst_cloudsyncmonitor.moc"
