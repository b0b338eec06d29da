#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>

namespace {

const QString kSaveLoop = QStringLiteral("--save-loop");
const QUuid kCounterId =
    QUuid::fromString(QStringLiteral("{6f0a3c1e-5d2b-4c6a-9e1f-2b7d8c4a0001}"));
const QString kScratch = QStringLiteral("scratch");
const QDateTime kNow = QDateTime(QDate(2025, 2, 1), QTime(10, 0), Qt::UTC);

int runSaveLoop(const QString& path) {
    QString error;
    auto context = ModelContext::open(path, &error);
    if (!context) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        return 2;
    }
    TaskItem* counter = context->task(kCounterId);
    if (!counter) {
        counter = new TaskItem(kCounterId, kNow);
        counter->setTitle(QStringLiteral("counter"));
        context->insert(counter);
    }
    QRandomGenerator random(quint32(QCoreApplication::applicationPid()));
    for (qint64 n = counter->sortIndex() + 1;; ++n) {
        auto* task = new TaskItem(QString::number(n), n, kNow);
        task->setNote(QStringLiteral("保存 %1").arg(n));
        context->insert(task);
        counter->setSortIndex(n);
        if (n % 3 == 0) {
            const QList<TaskItem*> tasks = context->tasks();
            for (TaskItem* old : tasks) {
                if (old->title() == kScratch)
                    context->remove(old);
            }
            auto* scratch = new TaskItem(kScratch, -n, kNow);
            scratch->setNote(QString(int(random.bounded(2000, 20000)), QChar(u'记')));
            context->insert(scratch);
        }
        if (!context->save(&error)) {
            std::fprintf(stderr, "save %lld failed: %s\n", n, qPrintable(error));
            return 3;
        }
        std::printf("%lld\n", n);
        std::fflush(stdout);
    }
}

} // namespace

class TestCrashSafety : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void killedMidSaveLosesNoReportedSave() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(QStringLiteral("crash.store"));
        qint64 lastReported = 0;
        int rounds = 0;

        for (; rounds < 10; ++rounds) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {kSaveLoop, path});
            QVERIFY(child.waitForStarted());
            QTRY_VERIFY_WITH_TIMEOUT(
                child.bytesAvailable() > 0 || child.state() != QProcess::Running, 10000);
            QTest::qWait(int(QRandomGenerator::global()->bounded(5, 400)));
            child.kill(); // SIGKILL
            QVERIFY(child.waitForFinished(10000));
            const QByteArray errors = child.readAllStandardError();
            QVERIFY2(errors.isEmpty(), errors.constData());
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);

            QList<qint64> reported;
            const QList<QByteArray> lines = child.readAllStandardOutput().split('\n');
            for (const QByteArray& line : lines) {
                if (!line.isEmpty())
                    reported << line.toLongLong();
            }
            QVERIFY(!reported.isEmpty());
            QCOMPARE(reported.first(), lastReported + 1);
            lastReported = reported.last();

            QCOMPARE(
                BoardTest::SideConnection(path).value(QStringLiteral("PRAGMA integrity_check")),
                QVariant(QStringLiteral("ok")));

            QString error;
            auto context = ModelContext::open(path, &error);
            QVERIFY2(context, qPrintable(error));
            const TaskItem* counter = context->task(kCounterId);
            QVERIFY(counter);
            const qint64 committed = counter->sortIndex();
            QVERIFY2(
                committed == lastReported || committed == lastReported + 1,
                qPrintable(QStringLiteral("counter %1 after %2").arg(committed).arg(lastReported)));
            lastReported = committed;

            QList<bool> seen(committed + 1, false);
            int scratch = 0;
            for (const TaskItem* task : context->tasks()) {
                if (task == counter)
                    continue;
                if (task->title() == kScratch) {
                    ++scratch;
                    continue;
                }
                bool ok = false;
                const qint64 n = task->title().toLongLong(&ok);
                QVERIFY2(ok && n >= 1 && n <= committed && !seen.at(n), qPrintable(task->title()));
                seen[n] = true;
                QCOMPARE(task->sortIndex(), n);
                QCOMPARE(task->note(), QStringLiteral("保存 %1").arg(n));
            }
            QCOMPARE(seen.count(true), committed); // none lost
            QCOMPARE(scratch, committed >= 3 ? 1 : 0);
        }
        qInfo("%d rounds, %lld saves", rounds, lastReported);
    }
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc == 3 && QString::fromLocal8Bit(argv[1]) == kSaveLoop)
        return runSaveLoop(QString::fromLocal8Bit(argv[2]));
    TestCrashSafety test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_crashsafety.moc"
