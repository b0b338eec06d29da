#include "CalDavServer.h"
#include "Convergence.h"

#include <QLoggingCategory>

// Seeded random rounds on two boards and one server; the seed is printed so that a failure
// can be replayed with TAVIK_SEED (TAVIK_ROUNDS for more rounds, TAVIK_SERVER=xandikos for
// the other server, TAVIK_VERBOSE for the mirror's log).
class TestSyncConvergence : public QObject {
    Q_OBJECT
private slots:
    void converges() {
        const quint32 seed = qEnvironmentVariableIsSet("TAVIK_SEED")
                                 ? quint32(qEnvironmentVariable("TAVIK_SEED").toULong())
                                 : QRandomGenerator::global()->generate();
        const int rounds = qEnvironmentVariableIntValue("TAVIK_ROUNDS");
        qInfo("seed %u", seed);
        // Hundreds of refused requests are the point here, not news.
        if (!qEnvironmentVariableIsSet("TAVIK_VERBOSE"))
            QLoggingCategory::setFilterRules(QStringLiteral("dev.orlen.tavik.*.info=false\n"
                                                            "dev.orlen.tavik.*.warning=false"));
        CalDavServer server(qEnvironmentVariable("TAVIK_SERVER") == QLatin1String("xandikos")
                                ? CalDavServer::Kind::xandikos
                                : CalDavServer::Kind::radicale);
        QVERIFY(server.start());
        QTemporaryDir directory;
        ConvergenceRun run(server.url(), seed, directory.path());
        const QString difference = run.run(rounds > 0 ? rounds : 200, 0.05);
        qInfo("%d edits, %d syncs (%d failed), %d of %d requests spoiled, %d tasks",
              run.figures.edits, run.figures.syncs, run.figures.failedSyncs, run.proxy().faults(),
              int(run.proxy().requests.size()), run.figures.tasks);
        if (!difference.isEmpty() && qEnvironmentVariableIsSet("TAVIK_VERBOSE"))
            qInfo("spoiled: %s", qPrintable(run.proxy().spoiled.join(QStringLiteral("\n  "))));
        QVERIFY2(difference.isEmpty(),
                 qPrintable(difference + QStringLiteral(" (seed %1)").arg(seed)));
        QVERIFY(run.proxy().faults() > 0);
    }
};

QTEST_GUILESS_MAIN(TestSyncConvergence)
#include "tst_syncconvergence.moc"
