// Sync figures against real CalDAV servers on loopback (Radicale, Xandikos):
//
//   bench_sync [rounds=1000] [tasks=2000] [seed] [memoryTasks=10000]
//
// Import, on Radicale: an account holding `tasks` tasks (laid out in Radicale's folder, as
// Tavik would write them), imported by a new board, beside the same import by vdirsyncer
// and one calendar-query with every item's data through curl (the raw transfer); then the
// board's next sync with nothing changed and with one task changed elsewhere. Memory: the
// peak resident size of a board's first import of `memoryTasks` tasks. Upload: a board of
// `tasks` tasks sent to an empty account, on each server. Convergence: two boards,
// `rounds` seeded random rounds of edits on both sides with syncs at random points and 5 %
// of the requests spoiled by a fault proxy; then the last syncs and the field-for-field
// check.

#include "BenchSupport.h"
#include "Convergence.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QProcess>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

namespace {

using namespace Bench;
using Board = MirrorBoard;

const QDateTime start(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC);

// Peak resident size of this process so far, in MiB.
double peakMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024;
}

TaskFields benchTask(int i) {
    TaskFields fields;
    fields.id = QUuid::createUuid();
    fields.title = QStringLiteral("Task %1").arg(i);
    fields.note = QStringLiteral("A note of a few words for task %1").arg(i);
    fields.sortIndex = i;
    fields.createdAt = fields.updatedAt = start;
    return fields;
}

// Tavik's default collection in a stopped Radicale's folder, holding `count` tasks.
void layOut(const CalDavServer& server, int count) {
    const QString folder = server.radicaleUserFolder() + QStringLiteral("/tavik/");
    QDir().mkpath(folder);
    const auto write = [](const QString& path, const QByteArray& data) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
            qFatal("cannot write %s", qPrintable(path));
    };
    write(folder + QStringLiteral(".Radicale.props"),
          R"({"C:supported-calendar-component-set": "VTODO", "D:displayname": "Tavik",)"
          R"( "tag": "VCALENDAR"})");
    for (int i = 0; i < count; ++i) {
        const TaskFields fields = benchTask(i);
        write(folder + fields.id.toString(QUuid::WithoutBraces) + QStringLiteral(".ics"),
              VtodoCodec::encode(fields, {}, start));
    }
}

double runMs(const QString& program, const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    const Stopwatch watch;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(3600000) || process.exitCode() != 0)
        qFatal("%s failed", qPrintable(program));
    return watch.wallMs();
}

// One calendar-query for every item with its data, through curl: the raw transfer.
double rawQueryMs(const CalDavServer& server) {
    const QString collection =
        server.url().resolved(QUrl(CalDavServer::username + QStringLiteral("/tavik/"))).toString();
    const QString credentials = CalDavServer::username + QLatin1Char(':') + CalDavServer::password;
    return runMs(QStringLiteral("curl"),
                 {"-sf", "-u", credentials, "-X", "REPORT", "-H", "Depth: 1", "-H",
                  "Content-Type: application/xml", "--data",
                  R"(<C:calendar-query xmlns:D="DAV:" xmlns:C="urn:ietf:params:xml:ns:caldav">)"
                  R"(<D:prop><D:getetag/><C:calendar-data/></D:prop><C:filter>)"
                  R"(<C:comp-filter name="VCALENDAR"><C:comp-filter name="VTODO"/></C:comp-filter>)"
                  R"(</C:filter></C:calendar-query>)",
                  collection});
}

// Radicale with `count` tasks laid out, its item cache built by one listing and its token
// state by one PROPFIND (a cold server spends minutes on these once; that is its cost, not
// a client's).
void laidOutAndWarm(CalDavServer& server, int count) {
    if (!server.start())
        qFatal("Radicale did not start");
    server.stop();
    layOut(server, count);
    if (!server.start())
        qFatal("Radicale did not start");
    std::printf("Radicale  %d tasks laid out; the first listing (cold cache) took %.0f ms\n", count,
                rawQueryMs(server));
    // Radicale also builds its sync-token state on the first PROPFIND that asks for one.
    const QString home = server.url().resolved(QUrl(CalDavServer::username + '/')).toString();
    std::printf("          the first PROPFIND of the home with a sync-token took %.0f ms\n",
                runMs(QStringLiteral("curl"),
                      {"-sf", "-u", CalDavServer::username + ':' + CalDavServer::password, "-X",
                       "PROPFIND", "-H", "Depth: 1", "--data",
                       R"(<D:propfind xmlns:D="DAV:" xmlns:CS="http://calendarserver.org/ns/">)"
                       R"(<D:prop><CS:getctag/><D:sync-token/></D:prop></D:propfind>)",
                       home}));
}

void importFigures(int count) {
    CalDavServer server(CalDavServer::Kind::radicale);
    laidOutAndWarm(server, count);
    QTemporaryDir directory;
    QNetworkAccessManager network;
    ManualClock clock(start);
    int requests = 0;
    QObject::connect(&network, &QNetworkAccessManager::finished, [&] { ++requests; });

    Board b(directory.filePath(QStringLiteral("b.store")), server.url(), &network, clock);
    b.client.setTimeout(600000);
    const Stopwatch import;
    const bool imported = b.sync(3600000) && b.context->tasks().size() == count;
    std::printf("Radicale  first import of %d tasks: %.0f ms wall, %.0f ms CPU, %d requests%s\n",
                count, import.wallMs(), import.cpuMs(), requests, imported ? "" : " (FAILED)");

    const double raw = rawQueryMs(server);
    std::printf("          one calendar-query with data through curl: %.0f ms wall\n", raw);

    QFile config(directory.filePath(QStringLiteral("vdirsyncer")));
    if (!config.open(QIODevice::WriteOnly))
        qFatal("cannot write the vdirsyncer configuration");
    config.write(QStringLiteral("[general]\nstatus_path = \"%1/status/\"\n"
                                "[pair bench]\na = \"local\"\nb = \"server\"\n"
                                "collections = [\"from b\"]\n"
                                "[storage local]\ntype = \"filesystem\"\npath = \"%1/vdir/\"\n"
                                "fileext = \".ics\"\n"
                                "[storage server]\ntype = \"caldav\"\nurl = \"%2\"\n"
                                "username = \"%3\"\npassword = \"%4\"\n")
                     .arg(directory.path(), server.url().toString(), CalDavServer::username,
                          CalDavServer::password)
                     .toUtf8());
    config.close();
    const QStringList vdirsyncer{QStringLiteral("-c"), config.fileName()};
    const double discover =
        runMs(QStringLiteral("vdirsyncer"), vdirsyncer + QStringList{QStringLiteral("discover")},
              QByteArray("y\n").repeated(10));
    const double vdir =
        runMs(QStringLiteral("vdirsyncer"), vdirsyncer + QStringList{QStringLiteral("sync")});
    std::printf("          vdirsyncer first sync of the same: %.0f ms wall (%.0f ms discover "
                "before it)\n",
                vdir, discover);

    QList<double> idle;
    for (int i = 0; i < 11; ++i) {
        requests = 0;
        const Stopwatch nothing;
        b.sync();
        idle.append(nothing.wallMs());
    }
    std::printf("          sync with nothing changed: %.1f ms wall (median of 11), %d requests\n",
                median(idle), requests);

    // Another client retitles one task; the board's next sync brings it.
    if (b.context->tasks().isEmpty())
        return; // a run that only wants the convergence figures
    QList<double> one;
    TaskItem* changed = b.context->tasks().first();
    for (int i = 0; i < 11; ++i) {
        const MirrorStore::Item item = *b.store.item(changed->id());
        TaskFields fields = TaskFields::fromTask(*changed);
        fields.title = QStringLiteral("Changed elsewhere %1").arg(i);
        CalDavClient other(&network);
        other.setAccount(b.client.account());
        await<CalDavError, QString>([&](auto done) {
            other.putItem(item.href, VtodoCodec::encode(fields, item.serverText, start), item.etag,
                          done);
        });
        requests = 0;
        const Stopwatch watch;
        b.sync();
        one.append(watch.wallMs());
        if (changed->title() != fields.title)
            std::printf("          (the change did not arrive)\n");
    }
    std::printf("          sync with one task changed elsewhere: %.1f ms wall (median of 11), %d "
                "requests\n",
                median(one), requests);
}

void memoryFigure(int count) {
    CalDavServer server(CalDavServer::Kind::radicale);
    laidOutAndWarm(server, count);
    QTemporaryDir directory;
    QNetworkAccessManager network;
    ManualClock clock(start);
    const double before = peakMiB();
    Board b(directory.filePath(QStringLiteral("m.store")), server.url(), &network, clock);
    // Radicale answers the first listing of a cold collection this large only after
    // reading every item: longer than the tests' timeout.
    b.client.setTimeout(600000);
    // A 60 Hz timer on the main thread stands for the board's frames: each gap between its
    // ticks is how long the board could not draw.
    QList<double> gaps;
    QElapsedTimer sinceTick;
    QTimer frames;
    frames.setTimerType(Qt::PreciseTimer);
    QObject::connect(&frames, &QTimer::timeout, [&] {
        gaps.append(msSince(sinceTick));
        sinceTick.restart();
    });
    sinceTick.start();
    frames.start(16);
    const Stopwatch watch;
    const bool imported = b.sync(3600000) && b.context->tasks().size() == count;
    // The sync may end in a long stretch with no tick: that stretch is a gap too.
    gaps.append(msSince(sinceTick));
    frames.stop();
    std::printf("Radicale  first import of %d tasks: %.0f ms wall, peak resident %.0f MiB "
                "(%.0f MiB before)%s\n",
                count, watch.wallMs(), peakMiB(), before, imported ? "" : " (FAILED)");
    if (!gaps.isEmpty())
        std::printf(
            "          main-thread gaps at 60 Hz during it (%d ticks): median %.1f ms, p95 %.1f "
            "ms, max %.0f ms\n",
            int(gaps.size()), median(gaps), percentile(gaps, 0.95),
            *std::max_element(gaps.cbegin(), gaps.cend()));
}

void upload(CalDavServer::Kind kind, const char* name, int count) {
    CalDavServer server(kind);
    if (!server.start())
        qFatal("%s did not start", name);
    QTemporaryDir directory;
    QNetworkAccessManager network;
    ManualClock clock(start);
    Board a(directory.filePath(QStringLiteral("a.store")), server.url(), &network, clock);
    for (int i = 0; i < count; ++i) {
        auto* task = new TaskItem(QStringLiteral("Task %1").arg(i), i, clock.now());
        task->setNote(QStringLiteral("A note of a few words for task %1").arg(i));
        a.context->insert(task);
    }
    a.context->save();
    int requests = 0;
    QObject::connect(&network, &QNetworkAccessManager::finished, [&] { ++requests; });
    const Stopwatch watch;
    const bool uploaded = a.sync(3600000);
    std::printf("%-9s first upload of %d tasks: %.0f ms wall, %.0f ms CPU, %d requests%s\n", name,
                count, watch.wallMs(), watch.cpuMs(), requests, uploaded ? "" : " (FAILED)");
}

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
    const int memoryTasks = args.value(4, QStringLiteral("10000")).toInt();
    // First, so that the peak it reads is its own.
    memoryFigure(memoryTasks);
    importFigures(tasks);
    for (const auto& [kind, name] : {std::pair{CalDavServer::Kind::radicale, "Radicale"},
                                     std::pair{CalDavServer::Kind::xandikos, "Xandikos"}}) {
        upload(kind, name, tasks);
        convergence(kind, name, rounds, seed);
    }
    return 0;
}
