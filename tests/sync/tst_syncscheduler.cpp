#include "Clock.h"
#include "DbusMock.h"
#include "SyncScheduler.h"
#include "TestData.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

namespace {

// Stands in for the mirror: records when each run starts and ends it after `length`, with
// the next outcome of its script ("ok", "fail", or a Retry-After in seconds: "wait=5").
class Runner : public QObject {
public:
    Runner(SyncScheduler& scheduler, QStringList outcomes, std::chrono::milliseconds length)
        : m_scheduler(scheduler)
        , m_outcomes(std::move(outcomes)) {
        m_clock.start();
        connect(&scheduler, &SyncScheduler::runRequested, this, [this, length] {
            QVERIFY2(!m_busy, "two runs at once");
            m_busy = true;
            starts.append(m_clock.elapsed());
            QTimer::singleShot(length, this, [this] {
                const QString outcome =
                    m_outcomes.isEmpty() ? QStringLiteral("ok") : m_outcomes.takeFirst();
                m_busy = false;
                ends.append(m_clock.elapsed());
                m_scheduler.runFinished(
                    outcome == QLatin1String("ok"),
                    outcome.startsWith(QLatin1String("wait=")) ? outcome.mid(5).toInt() : -1);
                if (ended)
                    ended(ends.size());
            });
        });
    }
    [[nodiscard]] qint64 now() const { return m_clock.elapsed(); }

    QList<qint64> starts;
    QList<qint64> ends;
    std::function<void(qsizetype)> ended; // after the n-th run ended

private:
    SyncScheduler& m_scheduler;
    QStringList m_outcomes;
    QElapsedTimer m_clock;
    bool m_busy = false;
};

// Milliseconds for seconds and minutes; a Retry-After second is 10 ms.
SyncScheduler::Timing fastTiming() {
    SyncScheduler::Timing timing;
    timing.launchDelay = 10ms;
    timing.afterSave = 40ms;
    timing.period = 100s; // out of the way unless a test wants it
    timing.firstRetry = 20ms;
    timing.longestRetry = 60ms;
    timing.maxRetries = 3;
    timing.second = 10ms;
    return timing;
}

} // namespace

class TestSyncScheduler : public QObject {
    Q_OBJECT
private:
    SystemClock m_clock;

private slots:
    // Launch, then the coarse timer, and nothing once stopped.
    void launchAndTimer() {
        SyncScheduler::Timing timing = fastTiming();
        timing.period = 150ms;
        SyncScheduler scheduler(timing, m_clock);
        Runner runner(scheduler, {}, 5ms);
        scheduler.start();
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), 1, 2000);
        QVERIFY(runner.starts.first() >= 10);
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), 2, 2000);
        QVERIFY2(runner.starts.at(1) >= 140, qPrintable(QString::number(runner.starts.at(1))));
        scheduler.stop();
        QTest::qWait(250);
        QCOMPARE(runner.starts.size(), 2);
    }

    // A burst of saves is one run after the last save; saves and a request during a run
    // make one run after it, never a second one beside it.
    void savesAndOverlap() {
        SyncScheduler scheduler(fastTiming(), m_clock);
        Runner runner(scheduler, {}, 60ms);
        scheduler.start();
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), 1, 2000);
        qint64 lastSave = 0;
        for (int i = 0; i < 10; ++i) {
            QTest::qWait(10);
            scheduler.saved();
            lastSave = runner.now();
        }
        QTRY_COMPARE_WITH_TIMEOUT(runner.starts.size(), 2, 2000);
        QVERIFY2(runner.starts.last() >= lastSave + 35,
                 qPrintable(QStringLiteral("%1 %2").arg(lastSave).arg(runner.starts.last())));
        scheduler.saved();
        scheduler.requestNow();
        QTRY_COMPARE_WITH_TIMEOUT(runner.starts.size(), 3, 2000);
        QVERIFY(runner.starts.last() >= runner.ends.at(1));
        QTest::qWait(250);
        QCOMPARE(runner.starts.size(), 3);
    }

    // A failing server is tried again a bounded number of times with growing pauses, never
    // before its Retry-After; then only a new trigger runs, and wake starts over.
    // Rows: the mirror's outcomes, the runs they make, and the least pause in ms between a
    // run's end and the next start.
    void retries_data() { TestData::addRows("scheduler_retries.json"); }
    void retries() {
        QFETCH(QJsonObject, row);
        const QStringList outcomes = row["outcomes"].toVariant().toStringList();
        const int runs = row["runs"].toInt();
        const QJsonArray leastPauses = row["leastPauses"].toArray();
        SyncScheduler scheduler(fastTiming(), m_clock);
        Runner runner(scheduler, outcomes, 5ms);
        // A save during the pause does not hurry it.
        runner.ended = [&](qsizetype n) {
            if (n == 1)
                scheduler.saved();
        };
        scheduler.start();
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), runs, 3000);
        QTest::qWait(300);
        QCOMPARE(runner.starts.size(), runs);
        for (int i = 0; i < leastPauses.size(); ++i)
            QVERIFY2(runner.starts.at(i + 1) - runner.ends.at(i) >= leastPauses.at(i).toInt(),
                     qPrintable(QStringLiteral("pause %1").arg(i)));
    }

    // After the retries are spent a save waits out the longest pause; waking from suspend
    // (logind's PrepareForSleep false, on a mock logind) runs at once and starts over.
    void wakeAndNetwork() {
        const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        if (address.isEmpty())
            QFAIL("run under dbus-run-session");
        QDBusConnection bus = QDBusConnection::sessionBus();
        DbusMock logind(bus, address, {QStringLiteral("logind")},
                        QStringLiteral("org.freedesktop.login1"),
                        QStringLiteral("/org/freedesktop/login1"));
        QVERIFY(logind.start());
        SyncScheduler::Timing timing = fastTiming();
        timing.longestRetry = 2s;
        SyncScheduler scheduler(timing, m_clock);
        scheduler.watchSystem(bus);
        Runner runner(scheduler, QStringList(20, QStringLiteral("fail")), 5ms);
        scheduler.start();
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), 4, 5000);
        QCOMPARE(scheduler.failuresInARow(), 4);
        scheduler.saved();
        QTest::qWait(200);
        QCOMPARE(runner.starts.size(), 4);

        logind.emitSignal(QStringLiteral("org.freedesktop.login1.Manager"),
                          QStringLiteral("PrepareForSleep"), QStringLiteral("b"), {true});
        QTest::qWait(100);
        QCOMPARE(runner.starts.size(), 4);
        logind.emitSignal(QStringLiteral("org.freedesktop.login1.Manager"),
                          QStringLiteral("PrepareForSleep"), QStringLiteral("b"), {false});
        QTRY_COMPARE_WITH_TIMEOUT(runner.starts.size(), 5, 2000);
        QTRY_COMPARE_WITH_TIMEOUT(scheduler.failuresInARow(), 4, 3000); // retried again

        // The network: going away runs nothing; coming back runs at once.
        QTRY_COMPARE_WITH_TIMEOUT(runner.ends.size(), 8, 3000);
        scheduler.networkChanged(false);
        QTest::qWait(50);
        QCOMPARE(runner.starts.size(), 8);
        scheduler.networkChanged(true);
        QTRY_COMPARE_WITH_TIMEOUT(runner.starts.size(), 9, 1000);
    }
};

QTEST_GUILESS_MAIN(TestSyncScheduler)
#include "tst_syncscheduler.moc"
