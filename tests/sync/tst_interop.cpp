#include "Clock.h"
#include "IsoCalendar.h"
#include "MirrorBoard.h"
#include "TaskCategory.h"

#include <QProcess>

// Tavik's tasks as two other clients from Debian see them (python3-caldav, and todoman
// through vdirsyncer), and theirs as Tavik sees them, on a real Radicale; the checks on
// their side are in interop.py.
class TestInterop : public QObject {
    Q_OBJECT
private slots:
    void otherClients() {
        CalDavServer server(CalDavServer::Kind::radicale);
        QVERIFY(server.start());
        QTemporaryDir dir;
        QNetworkAccessManager network;
        ManualClock clock{QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC)};
        MirrorBoard board(dir.filePath(QStringLiteral("board.store")), server.url(), &network,
                          clock);
        auto* home =
            new TaskCategory(QStringLiteral("Home"), QStringLiteral("30A46C"), 1, clock.now());
        board.context->insert(home);
        auto* milk = new TaskItem(QStringLiteral("Buy milk"), 1, clock.now());
        milk->setCategory(home);
        milk->schedule(clock.now(), clock.now(), IsoCalendar());
        milk->setReminderAt(clock.now().addSecs(3600));
        board.context->insert(milk);
        auto* rent = new TaskItem(QStringLiteral("Pay rent"), 2, clock.now());
        rent->setCompleted(true, clock.now());
        board.context->insert(rent);
        QVERIFY(board.context->save());
        QVERIFY(board.sync());

        const auto otherSide = [&](const char* step) {
            QProcess python;
            python.start(QStringLiteral("/usr/bin/python3"),
                         {QStringLiteral(TAVIK_TEST_DATA "/../interop.py"), server.url().toString(),
                          CalDavServer::username, CalDavServer::password, dir.path(),
                          QString::fromLatin1(step)});
            const bool ran = python.waitForFinished(120000);
            const QByteArray errors = python.readAllStandardError();
            if (!ran || python.exitCode() != 0)
                qWarning("interop.py %s: %s", step, errors.constData());
            return ran && python.exitCode() == 0;
        };
        QVERIFY(otherSide("read"));
        QVERIFY(board.sync());
        QVERIFY(milk->title() == QLatin1String("Buy oat milk") && milk->completed());
        QCOMPARE(milk->category(), home);
        TaskItem* call = board.titled(QStringLiteral("Call mum"));
        QVERIFY(call);
        QCOMPARE(call->category(), home);
        QCOMPARE(call->dueDate().toLocalTime().date(), QDate(2024, 6, 20));

        milk->setNote(QStringLiteral("Full fat"));
        QVERIFY(board.context->save());
        QVERIFY(board.sync());
        QVERIFY(otherSide("kept"));
    }
};

QTEST_GUILESS_MAIN(TestInterop)
#include "tst_interop.moc"
