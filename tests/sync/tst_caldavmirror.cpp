#include "Clock.h"
#include "IsoCalendar.h"
#include "MirrorBoard.h"
#include "TaskCategory.h"

#include <QNetworkReply>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTimer>

class TestCalDavMirror : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    QNetworkAccessManager m_network;
    ManualClock m_clock{QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC)};
    std::unique_ptr<CalDavServer> m_server;
    std::unique_ptr<MirrorBoard> m_a, m_b;

private slots:
    void initTestCase_data() { CalDavServer::addRows(); }
    void init() {
        QFETCH_GLOBAL(CalDavServer::Kind, server);
        m_server = std::make_unique<CalDavServer>(server);
        QVERIFY(m_server->start());
        static int round = 0;
        ++round;
        m_a = std::make_unique<MirrorBoard>(m_dir.filePath(QStringLiteral("a%1.store").arg(round)),
                                            m_server->url(), &m_network, m_clock);
        m_b = std::make_unique<MirrorBoard>(m_dir.filePath(QStringLiteral("b%1.store").arg(round)),
                                            m_server->url(), &m_network, m_clock);
        // Board A: one task without a list, one in "Work"; B starts empty.
        auto* work =
            new TaskCategory(QStringLiteral("Work"), QStringLiteral("E5484D"), 1, m_clock.now());
        m_a->context->insert(work);
        auto* milk = new TaskItem(QStringLiteral("Milk"), 2, m_clock.now());
        milk->schedule(m_clock.now(), m_clock.now(), IsoCalendar());
        milk->setReminderAt(m_clock.now().addSecs(3600));
        m_a->context->insert(milk);
        auto* report = new TaskItem(QStringLiteral("Report"), 1, m_clock.now());
        report->setCategory(work);
        m_a->context->insert(report);
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_a->context->pendingChanges().isEmpty());
        QVERIFY(m_b->sync());
    }
    void cleanup() {
        m_a.reset();
        m_b.reset();
        m_server.reset();
    }

    // A second board gets every task, field for field, in the right list, and records no
    // change of its own for what it imported.
    void firstImport() {
        TaskItem* milk = m_b->titled(QStringLiteral("Milk"));
        TaskItem* report = m_b->titled(QStringLiteral("Report"));
        QVERIFY(milk && report);
        TaskItem* original = m_a->titled(QStringLiteral("Milk"));
        QCOMPARE(milk->id(), original->id());
        QVERIFY(TaskFields::fromTask(*milk).sameContent(TaskFields::fromTask(*original)));
        QVERIFY(!milk->category());
        QVERIFY(report->category());
        QCOMPARE(report->category()->name(), QStringLiteral("Work"));
        QCOMPARE(report->category()->colorHex(), QStringLiteral("E5484D"));
        // One "Work" (Xandikos also offers its own default calendar, which shows as a list).
        QCOMPARE(std::count_if(m_b->context->categories().cbegin(),
                               m_b->context->categories().cend(),
                               [](TaskCategory* c) { return c->name() == QLatin1String("Work"); }),
                 1);
        QVERIFY(m_b->context->pendingChanges().isEmpty());
        // Nothing changed: syncing again changes nothing and duplicates nothing.
        QVERIFY(m_b->sync());
        QCOMPARE(m_b->context->tasks().size(), 2);
        // A list renamed and recoloured on one board is renamed on the other.
        TaskCategory* work = m_a->titled(QStringLiteral("Report"))->category();
        work->setName(QStringLiteral("买菜 & <more>"));
        work->setColorHex(QStringLiteral("30A46C"));
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        QCOMPARE(report->category()->name(), QStringLiteral("买菜 & <more>"));
        QCOMPARE(report->category()->colorHex(), QStringLiteral("30A46C"));

        // A task moved to another list keeps its UID, and leaves its old collection.
        const QUrl before = m_a->store.item(report->id())->collection;
        m_a->context->task(report->id())->setCategory(nullptr);
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        QVERIFY(!m_b->context->task(report->id())->category());
        QCOMPARE(m_b->context->tasks().size(), 2);
        QVERIFY(m_a->serverItems(before).isEmpty());
        // Moved there while deleted here: the move is a change there, which outlives the
        // delete as any edit there does; the task must not stay on the server alone.
        const QUuid id = report->id();
        m_clock.advance(60000);
        m_a->context->task(id)->setCategory(work);
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        m_b->context->remove(report);
        QVERIFY(m_b->context->save());
        QVERIFY(m_b->sync());
        QVERIFY(m_b->sync());
        QVERIFY(m_b->context->task(id));
        QCOMPARE(m_b->context->task(id)->category()->name(), work->name());
        QCOMPARE(m_a->copiesOf(id), 1);
    }

    // An edit made on the board between two slices of an import is sent, not taken into the
    // import's unrecorded save.
    void editBetweenImportSlices() {
        static int round = 0;
        MirrorBoard c(m_dir.filePath(QStringLiteral("c%1.store").arg(++round)), m_server->url(),
                      &m_network, m_clock);
        c.mirror->setSliceItems(1);
        const QString title = QStringLiteral("Edited between slices");
        bool edited = false;
        connect(c.context.get(), &ModelContext::taskInserted, this, [&](TaskItem* task) {
            if (std::exchange(edited, true))
                return;
            QTimer::singleShot(
                0, this, [&c, &title, id = task->id()] { c.context->task(id)->setTitle(title); });
        });
        QVERIFY(c.sync());
        QVERIFY(edited);
        QCOMPARE(c.context->tasks().size(), 2);
        QVERIFY(c.titled(title));
        QVERIFY(m_a->sync());
        QVERIFY(m_a->titled(title));
    }

    // Different fields edited on both boards both survive, whichever syncs first, and a
    // write against a stale ETag is merged rather than lost or looped.
    void writeConflicts() {
        TaskItem* onA = m_a->titled(QStringLiteral("Milk"));
        TaskItem* onB = m_b->titled(QStringLiteral("Milk"));
        QVERIFY(onA && onB);
        m_clock.advance(60000);
        onB->setCompleted(true, m_clock.now());
        QVERIFY(m_b->context->save());
        QVERIFY(m_b->sync());
        m_clock.advance(60000);
        onA->setTitle(QStringLiteral("Milk and eggs"));
        onA->setUpdatedAt(m_clock.now());
        QVERIFY(m_a->context->save());
        // A does not see B's change before it writes, so its PUT meets a 412.
        m_a->skipServerChanges();
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        for (MirrorBoard* board : {m_a.get(), m_b.get()})
            QVERIFY(board->titled(QStringLiteral("Milk and eggs"))->completed());
        QVERIFY(m_a->context->pendingChanges().isEmpty());

        // A create whose answer was lost is sent again: the server already holds the UID, and
        // keeps it once, with the newer fields.
        QVERIFY(m_a->store.removeItem(onA->id()));
        onA->setTitle(QStringLiteral("Milk, again"));
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        QCOMPARE(m_a->copiesOf(onA->id()), 1);
        QVERIFY(m_b->titled(QStringLiteral("Milk, again")));

        // A DELETE refused with 412 drops what we knew of the copy; while the deletion still
        // waits in the log (a later change failed), the copy must come back, not be skipped.
        const QUuid id = onA->id();
        m_b->context->remove(m_b->context->task(id));
        QVERIFY(m_b->context->save());
        QVERIFY(m_b->store.removeItem(id));
        for (MirrorStore::Collection c : m_b->store.collections()) {
            c.syncToken.clear();
            m_b->store.putCollection(c);
        }
        QVERIFY(m_b->sync());
        QVERIFY(m_b->context->task(id));
        QCOMPARE(m_b->context->task(id)->title(), QStringLiteral("Milk, again"));
        QCOMPARE(m_a->copiesOf(id), 1);
    }

    // Offline edits wait in the change log; a refused token means a listing of ETags that
    // neither loses nor doubles a task and fetches only what changed.
    void offlineAndRefusedToken() {
        TaskItem* report = m_a->titled(QStringLiteral("Report"));
        QVERIFY(report);
        report->setTitle(QStringLiteral("Report v2"));
        QVERIFY(m_a->context->save());
        m_server->stop();
        QSignalSpy events(m_a->mirror.get(), &CalDavMirror::eventChanged);
        QVERIFY(!m_a->sync());
        QCOMPARE(events.last().first().value<MirrorEvent>().error.kind, CalDavError::Kind::network);
        QCOMPARE(m_a->context->pendingChanges().size(), 1);

        QVERIFY(m_server->start());
        for (MirrorStore::Collection c : m_b->store.collections()) {
            c.syncToken = QStringLiteral("http://radicale.org/ns/sync/0000");
            m_b->store.putCollection(c);
        }
        QVERIFY(m_a->sync());
        QVERIFY(m_a->context->pendingChanges().isEmpty());
        // Only what changed is fetched: an ETag listing of everything, then one GET.
        int gets = 0;
        connect(&m_network, &QNetworkAccessManager::finished, this, [&](QNetworkReply* reply) {
            gets +=
                reply->request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray() ==
                "GET";
        });
        QVERIFY(m_b->sync());
        disconnect(&m_network, &QNetworkAccessManager::finished, this, nullptr);
        QCOMPARE(gets, 1);
        QCOMPARE(m_b->context->tasks().size(), 2);
        QVERIFY(m_b->titled(QStringLiteral("Report v2")));

        // A token forgotten (after a refused DELETE) lists everything anew, and a task deleted
        // there meanwhile still leaves.
        auto* slides = new TaskItem(QStringLiteral("Slides"), 3, m_clock.now());
        slides->setCategory(report->category());
        m_a->context->insert(slides);
        m_a->context->remove(report);
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        for (MirrorStore::Collection c : m_b->store.collections()) {
            c.syncToken.clear();
            m_b->store.putCollection(c);
        }
        QVERIFY(m_b->sync());
        QVERIFY(!m_b->titled(QStringLiteral("Report v2")));
        QCOMPARE(m_b->context->tasks().size(), 2);
        // Made on one board after its token and deleted on the other before it looks again:
        // it leaves the first board too, though a server may leave it out of the next delta.
        m_b->context->remove(m_b->titled(QStringLiteral("Slides")));
        QVERIFY(m_b->context->save());
        QVERIFY(m_b->sync());
        QVERIFY(m_a->sync());
        QVERIFY(!m_a->titled(QStringLiteral("Slides")));
    }

    // One UID at two hrefs in two collections (a move whose DELETE was lost, another
    // client's copy): one task on each board and one copy on the server, the newer one.
    void strayCopies_data() {
        QTest::addColumn<bool>("copyIsNewer");
        QTest::newRow("older copy") << false;
        QTest::newRow("newer copy") << true;
    }
    void strayCopies() {
        QFETCH(bool, copyIsNewer);
        const QUuid milk = m_a->titled(QStringLiteral("Milk"))->id();
        const MirrorStore::Item binding = *m_a->store.item(milk);
        const QUrl work = m_a->store.item(m_a->titled(QStringLiteral("Report"))->id())->collection;
        TaskFields fields;
        QString why;
        QVERIFY(VtodoCodec::decode(binding.serverText, &fields, &why));
        if (copyIsNewer) {
            fields.title = QStringLiteral("Milk (copy)");
            fields.updatedAt = m_clock.now().addSecs(600);
        }
        const QByteArray copy = VtodoCodec::encode(fields, binding.serverText, m_clock.now());
        m_a->call<QString>([&](auto done) {
            m_a->client.putItem(work.resolved(QUrl(QStringLiteral("copy.ics"))), copy, {}, done);
        });
        QVERIFY(m_b->sync());
        QVERIFY(m_a->sync());
        for (MirrorBoard* board : {m_a.get(), m_b.get()}) {
            QCOMPARE(board->context->tasks().size(), 2);
            TaskItem* task = board->context->task(milk);
            QVERIFY(task);
            QCOMPARE(task->title(),
                     copyIsNewer ? QStringLiteral("Milk (copy)") : QStringLiteral("Milk"));
            QCOMPARE(task->category() != nullptr, copyIsNewer);
        }
        QCOMPARE(m_a->copiesOf(milk), 1);
    }

    // A list deleted on a board leaves the server with its collection, its tasks staying
    // without a list; one deleted on the server leaves the boards with its tasks, except a
    // task edited meanwhile, which stays without a list.
    void deletedLists() {
        TaskItem* report = m_a->titled(QStringLiteral("Report"));
        const QString work = m_a->store.item(report->id())->collection.path();
        m_a->context->remove(report->category());
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        for (const CalendarCollection& collection : m_a->serverCollections())
            QVERIFY(collection.url.path() != work);
        QVERIFY(m_b->sync());
        QVERIFY(m_b->titled(QStringLiteral("Report")));
        QVERIFY(!m_b->titled(QStringLiteral("Report"))->category());
        QCOMPARE(m_a->copiesOf(report->id()), 1);

        auto* home =
            new TaskCategory(QStringLiteral("Home"), QStringLiteral("30A46C"), 2, m_clock.now());
        m_b->context->insert(home);
        for (const QString& title : {QStringLiteral("Paint"), QStringLiteral("Fix")}) {
            auto* task = new TaskItem(title, 5, m_clock.now());
            task->setCategory(home);
            m_b->context->insert(task);
        }
        QVERIFY(m_b->context->save());
        QVERIFY(m_b->sync());
        QVERIFY(m_a->sync());
        TaskItem* fix = m_a->titled(QStringLiteral("Fix"));
        QVERIFY(fix && fix->category());
        fix->setTitle(QStringLiteral("Fix the door"));
        QVERIFY(m_a->context->save());
        const QUrl homeUrl = m_b->store.item(fix->id())->collection;
        m_b->call([&](auto done) { m_b->client.deleteItem(homeUrl, {}, done); });
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        for (MirrorBoard* board : {m_a.get(), m_b.get()}) {
            QVERIFY(!board->titled(QStringLiteral("Paint")));
            TaskItem* kept = board->titled(QStringLiteral("Fix the door"));
            QVERIFY(kept);
            QVERIFY(!kept->category());
            QCOMPARE(board->context->tasks().size(), 3);
            QVERIFY(std::none_of(board->context->categories().cbegin(),
                                 board->context->categories().cend(), [](TaskCategory* c) {
                                     return c->name() == QLatin1String("Home") ||
                                            c->name() == QLatin1String("Work");
                                 }));
        }
        QCOMPARE(m_a->copiesOf(fix->id()), 1);
    }

    // A store that refuses the server's changes fails the sync and tells the user once
    // (the checked save); nothing is skipped once it takes writes again.
    void failingSaveIsChecked() {
        m_a->titled(QStringLiteral("Milk"))->setTitle(QStringLiteral("Oat milk"));
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        {
            QSqlDatabase side =
                QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("side"));
            side.setDatabaseName(m_b->context->path());
            QVERIFY(side.open());
            QVERIFY(
                QSqlQuery(side).exec(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON tasks "
                                                    "BEGIN SELECT RAISE(ABORT, 'no'); END")));
            QSignalSpy posted(&m_b->hub, &NotificationHub::posted);
            QVERIFY(!m_b->sync());
            QVERIFY(!m_b->sync());
            QCOMPARE(posted.size(), 1);
            QCOMPARE(posted.first().first().toString(), TavikNotification::saveFailed);
            QVERIFY(QSqlQuery(side).exec(QStringLiteral("DROP TRIGGER refuse")));
            side.close();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("side"));
        QVERIFY(m_b->sync());
        QVERIFY(m_b->titled(QStringLiteral("Oat milk")));
        const auto reread =
            ModelContext::open(m_b->context->path(), nullptr, ModelContext::OpenMode::readOnly);
        QVERIFY(reread);
        QCOMPARE(reread->task(m_b->titled(QStringLiteral("Oat milk"))->id())->title(),
                 QStringLiteral("Oat milk"));
    }

    // A first upload cut short by a quit, with writes on their way, carries on after a
    // restart where it got to, tells its progress as done of total, and leaves each task on
    // the server once.
    void resumableFirstUpload() {
        const QString path = m_dir.filePath(QUuid::createUuid().toString(QUuid::Id128));
        auto board = std::make_unique<MirrorBoard>(path, m_server->url(), &m_network, m_clock);
        constexpr int count = 60;
        for (int i = 0; i < count; ++i)
            board->context->insert(
                new TaskItem(QStringLiteral("Task %1").arg(i), i, m_clock.now()));
        QVERIFY(board->context->save());
        QList<std::pair<qsizetype, qsizetype>> seen;
        const auto follow = [&] {
            connect(board->mirror.get(), &CalDavMirror::progress, this,
                    [&](qsizetype done, qsizetype total) {
                        seen.append({done, total});
                        if (done == 40 && seen.size() == 41)
                            QTimer::singleShot(0, this, [&] { board.reset(); });
                    });
        };
        follow();
        board->mirror->sync();
        QTRY_VERIFY_WITH_TIMEOUT(!board, 60000);
        QCOMPARE(seen.at(40), std::make_pair(qsizetype(40), qsizetype(count)));

        board = std::make_unique<MirrorBoard>(path, m_server->url(), &m_network, m_clock);
        seen.clear();
        follow();
        QVERIFY(board->sync());
        QVERIFY2(seen.first().first >= 25 && seen.first().first <= 40,
                 qPrintable(QString::number(seen.first().first)));
        QCOMPARE(seen.first().second, count);
        QCOMPARE(seen.last(), std::make_pair(qsizetype(count), qsizetype(count)));
        QVERIFY(board->context->pendingChanges().isEmpty());
        const QList<CalendarItem> items = board->serverItems(
            board->store.item(board->titled(QStringLiteral("Task 0"))->id())->collection);
        QCOMPARE(items.size(), count + 1); // and Milk
    }

    // A board moved to another account goes up there whole, though the first took it all.
    void anotherAccount() {
        QFETCH_GLOBAL(CalDavServer::Kind, server);
        CalDavServer other(server);
        QVERIFY(other.start());
        const QString path = m_dir.filePath(QUuid::createUuid().toString(QUuid::Id128));
        auto board = std::make_unique<MirrorBoard>(path, m_server->url(), &m_network, m_clock);
        for (int i = 0; i < 3; ++i)
            board->context->insert(new TaskItem(QStringLiteral("T%1").arg(i), i, m_clock.now()));
        QVERIFY(board->context->save());
        QVERIFY(board->sync());
        board = std::make_unique<MirrorBoard>(path, other.url(), &m_network, m_clock);
        QVERIFY(board->sync());
        qsizetype onServer = 0;
        for (const CalendarCollection& collection : board->serverCollections())
            onServer += board->serverItems(collection.url).size();
        QCOMPARE(onServer, 5); // and Milk and Report, which came from the first account
        QCOMPARE(board->context->tasks().size(), 5);
    }
};

QTEST_GUILESS_MAIN(TestCalDavMirror)
#include "tst_caldavmirror.moc"
