// Sync figures against real CalDAV servers on loopback (Radicale, Xandikos):
//
//   bench_sync [rounds=1000] [tasks=2000] [seed]
//
// Convergence: two boards, `rounds` seeded random rounds of edits on both sides with syncs
// at random points and 5 % of the requests spoiled by a fault proxy; then the last syncs and
// the field-for-field check. Upload and import: a board of `tasks` tasks uploaded to an empty
// account, a second board's first import of it, and that board's next sync with nothing
// changed (with the requests it cost).

#include "BenchSupport.h"
#include "CalDavServer.h"
#include "Convergence.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>

namespace {

using namespace Bench;
using Board = MirrorBoard;

void convergence(CalDavServer::Kind kind, const char* name, int rounds, quint32 seed) {
    CalDavServer server(kind);
    if (!server.start())
        qFatal("%s did not start", name);
    QTemporaryDir directory;
    ConvergenceRun run(server.url(), seed, directory.path());
    const Stopwatch watch;
    const QString difference = run.run(rounds, 0.05);
    const double wall = watch.wallMs();
    std::printf("%-9s convergence, %d rounds, seed %u: %s\n", name, rounds, seed,
                difference.isEmpty() ? "boards and server agree"
                                     : qPrintable(QStringLiteral("DIFFER: ") + difference));
    std::printf("          %d edits, %d syncs (%d failed), %d of %d requests spoiled, %d tasks\n",
                run.figures.edits, run.figures.syncs, run.figures.failedSyncs, run.proxy().faults(),
                int(run.proxy().requests.size()), run.figures.tasks);
    std::printf("          rounds %.1f s wall, %.1f ms per sync; whole run %.1f s wall, %.1f s "
                "CPU\n",
                double(run.figures.roundsMs) / 1000,
                double(run.figures.roundsMs) / qMax(1, run.figures.syncs), wall / 1000,
                watch.cpuMs() / 1000);
}

void uploadAndImport(CalDavServer::Kind kind, const char* name, int count) {
    CalDavServer server(kind);
    if (!server.start())
        qFatal("%s did not start", name);
    QTemporaryDir directory;
    QNetworkAccessManager network;
    ManualClock clock(QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC));
    Board a(directory.filePath(QStringLiteral("a.store")), server.url(), &network, clock);
    for (int i = 0; i < count; ++i) {
        auto* task = new TaskItem(QStringLiteral("Task %1").arg(i), i, clock.now());
        task->setNote(QStringLiteral("A note of a few words for task %1").arg(i));
        a.context->insert(task);
    }
    a.context->save();
    int requests = 0;
    QObject::connect(&network, &QNetworkAccessManager::finished, [&] { ++requests; });

    const Stopwatch upload;
    const bool uploaded = a.sync(3600000);
    std::printf("%-9s first upload of %d tasks: %.0f ms wall, %.0f ms CPU, %d requests%s\n", name,
                count, upload.wallMs(), upload.cpuMs(), requests, uploaded ? "" : " (FAILED)");

    Board b(directory.filePath(QStringLiteral("b.store")), server.url(), &network, clock);
    requests = 0;
    const Stopwatch import;
    const bool imported = b.sync(3600000) && b.context->tasks().size() == count;
    std::printf("          first import of %d tasks: %.0f ms wall, %.0f ms CPU, %d requests%s\n",
                count, import.wallMs(), import.cpuMs(), requests, imported ? "" : " (FAILED)");

    QList<double> idle;
    for (int i = 0; i < 11; ++i) {
        requests = 0;
        const Stopwatch nothing;
        b.sync();
        idle.append(nothing.wallMs());
    }
    std::printf("          sync with nothing changed: %.1f ms wall (median of 11), %d requests\n",
                median(idle), requests);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // a long run shows each figure as it comes
    QLoggingCategory::setFilterRules(QStringLiteral("dev.orlen.tavik.*=false"));
    const QStringList args = app.arguments();
    const int rounds = args.value(1, QStringLiteral("1000")).toInt();
    const int tasks = args.value(2, QStringLiteral("2000")).toInt();
    const quint32 seed =
        args.size() > 3 ? quint32(args.at(3).toULong()) : QRandomGenerator::global()->generate();
    for (const auto& [kind, name] : {std::pair{CalDavServer::Kind::radicale, "Radicale"},
                                     std::pair{CalDavServer::Kind::xandikos, "Xandikos"}}) {
        uploadAndImport(kind, name, tasks);
        convergence(kind, name, rounds, seed);
    }
    return 0;
}
