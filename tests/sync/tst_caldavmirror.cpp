#include "CalDavMirror.h"
#include "CalDavServer.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "VtodoCodec.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTimer>

namespace {

// One board mirrored to the test's server: a real store file, its mirror tables and client.
struct Board {
    Board(const QString& path, const QUrl& server, QNetworkAccessManager* network,
          const Clock& clock)
        : context(ModelContext::open(path, nullptr))
        , client(network) {
        QString error;
        if (!context || !store.open(*context, &error))
            qFatal("cannot open %s: %s", qPrintable(path), qPrintable(error));
        client.setAccount({server, CalDavServer::username, CalDavServer::password});
        mirror = std::make_unique<CalDavMirror>(*context, store, client, clock, hub);
    }

    // One sync to its end; whether it went well.
    bool sync() {
        QSignalSpy finished(mirror.get(), &CalDavMirror::finished);
        mirror->sync();
        if (!finished.wait(30000))
            qFatal("the sync never ended");
        return finished.first().first().toBool();
    }

    // Takes the server's present tokens as already imported, so the next sync writes
    // without having read what changed there.
    void skipServerChanges() {
        bool listed = false;
        client.listCollections(QUrl(store.value(QStringLiteral("home"))),
                               [&](const CalDavError&, const QList<CalendarCollection>& all) {
                                   for (MirrorStore::Collection c : store.collections()) {
                                       for (const CalendarCollection& s : all) {
                                           if (s.url.path() == c.url.path()) {
                                               c.syncToken = s.syncToken;
                                               c.ctag = s.ctag;
                                               store.putCollection(c);
                                           }
                                       }
                                   }
                                   listed = true;
                               });
        if (!QTest::qWaitFor([&] { return listed; }, 20000))
            qFatal("PROPFIND never answered");
    }

    // What the server holds in a collection now.
    QList<CalendarItem> serverItems(const QUrl& collection) {
        std::optional<QList<CalendarItem>> items;
        client.listItems(collection, true,
                         [&](const CalDavError& error, const QList<CalendarItem>& found) {
                             if (error.isError())
                                 qFatal("REPORT failed: %s", qPrintable(error.detail));
                             items = found;
                         });
        if (!QTest::qWaitFor([&] { return items.has_value(); }, 20000))
            qFatal("REPORT never answered");
        return *items;
    }

    // Waits for one call of the client; fails the test on an error.
    template <typename Call> void await(Call call) {
        bool answered = false;
        call([&](const CalDavError& error, auto&&...) {
            if (error.isError())
                qFatal("request failed: %s", qPrintable(error.detail));
            answered = true;
        });
        if (!QTest::qWaitFor([&] { return answered; }, 20000))
            qFatal("no answer");
    }

    QStringList collectionPaths() {
        QStringList paths;
        client.listCollections(QUrl(store.value(QStringLiteral("home"))),
                               [&](const CalDavError&, const QList<CalendarCollection>& all) {
                                   for (const CalendarCollection& c : all)
                                       paths << c.url.path();
                                   paths << QString();
                               });
        if (!QTest::qWaitFor([&] { return !paths.isEmpty(); }, 20000))
            qFatal("PROPFIND never answered");
        paths.removeLast();
        return paths;
    }

    // How many copies of a task the server holds, over all our collections.
    int copiesOf(const QUuid& id) {
        int copies = 0;
        for (const MirrorStore::Collection& collection : store.collections()) {
            for (const CalendarItem& item : serverItems(collection.url)) {
                TaskFields fields;
                QString why;
                copies += VtodoCodec::decode(item.data, &fields, &why) && fields.id == id;
            }
        }
        return copies;
    }

    TaskItem* titled(const QString& title) const {
        TaskItem* found = nullptr;
        for (TaskItem* task : context->tasks()) {
            if (task->title() == title) {
                if (found)
                    qFatal("two tasks titled %s", qPrintable(title));
                found = task;
            }
        }
        return found;
    }

    NotificationHub hub;
    std::unique_ptr<ModelContext> context;
    MirrorStore store;
    CalDavClient client;
    std::unique_ptr<CalDavMirror> mirror;
};

} // namespace

class TestCalDavMirror : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    QNetworkAccessManager m_network;
    ManualClock m_clock{QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC)};
    std::unique_ptr<CalDavServer> m_server;
    std::unique_ptr<Board> m_a, m_b;

    static void servers() {
        QTest::addColumn<CalDavServer::Kind>("server");
        QTest::newRow("radicale") << CalDavServer::Kind::radicale;
        QTest::newRow("xandikos") << CalDavServer::Kind::xandikos;
    }

    void spoilTokens(Board& board) {
        for (MirrorStore::Collection c : board.store.collections()) {
            c.syncToken = QStringLiteral("http://radicale.org/ns/sync/0000");
            board.store.putCollection(c);
        }
    }

private slots:
    void init() {
        QFETCH(CalDavServer::Kind, server);
        m_server = std::make_unique<CalDavServer>(server);
        QVERIFY(m_server->start());
        static int round = 0;
        ++round;
        m_a = std::make_unique<Board>(m_dir.filePath(QStringLiteral("a%1.store").arg(round)),
                                      m_server->url(), &m_network, m_clock);
        m_b = std::make_unique<Board>(m_dir.filePath(QStringLiteral("b%1.store").arg(round)),
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
    void firstImport_data() { servers(); }
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
        work->setName(QStringLiteral("Office"));
        work->setColorHex(QStringLiteral("30A46C"));
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        QCOMPARE(report->category()->name(), QStringLiteral("Office"));
        QCOMPARE(report->category()->colorHex(), QStringLiteral("30A46C"));
    }

    // Different fields edited on both boards both survive, whichever syncs first, and a
    // write against a stale ETag is merged rather than lost or looped.
    void editsOnBothSidesMerge_data() { servers(); }
    void editsOnBothSidesMerge() {
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
        for (Board* board : {m_a.get(), m_b.get()}) {
            TaskItem* task = board->titled(QStringLiteral("Milk and eggs"));
            QVERIFY(task);
            QVERIFY(task->completed());
        }
        QVERIFY(m_a->context->pendingChanges().isEmpty());
    }

    // A task moved to another list moves to that collection under the same UID, and the
    // other board sees one task, moved.
    void moveKeepsTheTask_data() { servers(); }
    void moveKeepsTheTask() {
        TaskItem* report = m_a->titled(QStringLiteral("Report"));
        QVERIFY(report);
        const QUrl before = m_a->store.item(report->id())->collection;
        report->setCategory(nullptr);
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(m_a->store.item(report->id())->collection != before);
        QVERIFY(m_b->sync());
        TaskItem* moved = m_b->titled(QStringLiteral("Report"));
        QVERIFY(moved);
        QCOMPARE(moved->id(), report->id());
        QVERIFY(!moved->category());
        QCOMPARE(m_b->context->tasks().size(), 2);
        QVERIFY(m_a->serverItems(before).isEmpty());
    }

    // A create whose answer was lost is sent again: the server already holds the UID, and
    // the task ends up there once, with the newer fields.
    void retriedCreateIsNoDuplicate_data() { servers(); }
    void retriedCreateIsNoDuplicate() {
        TaskItem* milk = m_a->titled(QStringLiteral("Milk"));
        QVERIFY(milk);
        const auto binding = m_a->store.item(milk->id());
        QVERIFY(binding);
        QVERIFY(m_a->store.removeItem(milk->id()));
        milk->setTitle(QStringLiteral("Milk, again"));
        QVERIFY(m_a->context->save());
        m_a->skipServerChanges();
        QVERIFY(m_a->sync());
        const QList<CalendarItem> items = m_a->serverItems(binding->collection);
        QCOMPARE(items.size(), 1);
        TaskFields fields;
        QString why;
        QVERIFY(VtodoCodec::decode(items.first().data, &fields, &why));
        QCOMPARE(fields.title, QStringLiteral("Milk, again"));
    }

    // Offline edits wait in the change log; a refused token means a listing of ETags that
    // neither loses nor doubles a task and fetches only what changed.
    void offlineAndRefusedToken_data() { servers(); }
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
        spoilTokens(*m_b);
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
    }

    // One UID at two hrefs in two collections (a move whose DELETE was lost, another
    // client's copy): one task on each board and one copy on the server, the newer one.
    void strayCopies_data() {
        QTest::addColumn<CalDavServer::Kind>("server");
        QTest::addColumn<bool>("copyIsNewer");
        for (const auto kind : {CalDavServer::Kind::radicale, CalDavServer::Kind::xandikos}) {
            const char* name = kind == CalDavServer::Kind::radicale ? "radicale" : "xandikos";
            QTest::addRow("%s, older copy", name) << kind << false;
            QTest::addRow("%s, newer copy", name) << kind << true;
        }
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
        m_a->await([&](auto done) {
            m_a->client.putItem(work.resolved(QUrl(QStringLiteral("copy.ics"))), copy, {}, done);
        });
        QVERIFY(m_b->sync());
        QVERIFY(m_a->sync());
        for (Board* board : {m_a.get(), m_b.get()}) {
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
    void deletedLists_data() { servers(); }
    void deletedLists() {
        TaskItem* report = m_a->titled(QStringLiteral("Report"));
        const QString work = m_a->store.item(report->id())->collection.path();
        m_a->context->remove(report->category());
        QVERIFY(m_a->context->save());
        QVERIFY(m_a->sync());
        QVERIFY(!m_a->collectionPaths().contains(work));
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
        m_b->await([&](auto done) { m_b->client.deleteItem(homeUrl, {}, done); });
        QVERIFY(m_a->sync());
        QVERIFY(m_b->sync());
        for (Board* board : {m_a.get(), m_b.get()}) {
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
    void failingSaveIsChecked_data() { servers(); }
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

    // A first upload cut short by a quit carries on after a restart where it got to, tells
    // its progress as done of total, and leaves each task on the server once.
    void resumableFirstUpload_data() { servers(); }
    void resumableFirstUpload() {
        const QString path = m_dir.filePath(QUuid::createUuid().toString(QUuid::Id128));
        auto board = std::make_unique<Board>(path, m_server->url(), &m_network, m_clock);
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
        QCOMPARE(seen.last(), std::make_pair(qsizetype(40), qsizetype(count)));

        board = std::make_unique<Board>(path, m_server->url(), &m_network, m_clock);
        seen.clear();
        follow();
        QVERIFY(board->sync());
        QVERIFY2(seen.first().first >= 25 && seen.first().first <= 40,
                 qPrintable(QString::number(seen.first().first)));
        QCOMPARE(seen.first().second, count);
        QCOMPARE(seen.last(), std::make_pair(qsizetype(count - 1), qsizetype(count)));
        QVERIFY(board->context->pendingChanges().isEmpty());
        const QList<CalendarItem> items = board->serverItems(
            board->store.item(board->titled(QStringLiteral("Task 0"))->id())->collection);
        QCOMPARE(items.size(), count + 1); // and Milk
    }
};

QTEST_GUILESS_MAIN(TestCalDavMirror)
#include "tst_caldavmirror.moc"
