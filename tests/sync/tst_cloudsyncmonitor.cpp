#include "Clock.h"
#include "CloudSyncMonitor.h"
#include "DbusMock.h"
#include "Notifications.h"
#include "PowerProfile.h"
#include "TestData.h"

#include <QSignalSpy>

namespace {

using State = CloudSyncMonitor::State;
using Availability = TavikContainer::SyncAvailability;

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
    void events_data() { TestData::addRows("monitor_events.json"); }
    void events() {
        QFETCH(QJsonObject, row);
        static const QHash<QString, Availability::Kind> kinds{
            {QStringLiteral("localOnly"), Availability::Kind::localOnly},
            {QStringLiteral("unavailable"), Availability::Kind::unavailable}};
        NotificationHub hub;
        QSignalSpy posted(&hub, &NotificationHub::posted);
        const Availability availability{
            kinds.value(row["availability"].toString(), Availability::Kind::active),
            QStringLiteral("no password")};
        CloudSyncMonitor monitor(availability, hub, m_clock, nullptr);
        QSignalSpy imported(&monitor, &CloudSyncMonitor::importFinished);
        for (const QString& token : row["events"].toString().split(' ', Qt::SkipEmptyParts)) {
            m_clock.advance(1000);
            monitor.handle(mirrorEvent(token, m_clock.now()));
        }
        const State state = State(QMetaEnum::fromType<State>().keyToValue(
            row["state"].toString().toLatin1().constData()));
        QCOMPARE(monitor.state(), state);
        QCOMPARE(monitor.title(), row["title"].toString());
        QCOMPARE(monitor.detail(), row["detail"].toString());
        QCOMPARE(monitor.footer(), state == State::Off ? offFooter : onFooter);
        QCOMPARE(posted.size(), row["posts"].toInt());
        for (const QList<QVariant>& post : posted)
            QCOMPARE(post.first().toString(), TavikNotification::tasksChanged);
        QCOMPARE(imported.size(), row["posts"].toInt());
        const int lastSynced = row["lastSynced"].toInt(-1); // seconds ago, -1: never
        if (lastSynced < 0)
            QVERIFY(!monitor.lastSyncedAt().isValid());
        else
            QCOMPARE(monitor.lastSyncedAt().secsTo(m_clock.now()), lastSynced);
    }

    void relativeTime_data() { TestData::addRows("relative_time.json"); }
    void relativeTime() {
        QFETCH(QJsonObject, row);
        const QDateTime now = m_clock.now();
        QCOMPARE(CloudSyncMonitor::relativeTime(now.addSecs(-row["secondsAgo"].toInt()), now),
                 row["text"].toString());
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
        DbusMock daemon(bus, address,
                        {QStringLiteral("power_profiles_daemon"), QStringLiteral("-p"),
                         QStringLiteral(R"({"ActiveProfile": "power-saver"})")},
                        QStringLiteral("net.hadess.PowerProfiles"),
                        QStringLiteral("/net/hadess/PowerProfiles"));
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
