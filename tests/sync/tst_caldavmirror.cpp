#include "CalDavMirror.h"
#include "CalDavServer.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "VtodoCodec.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>

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
        mirror = std::make_unique<CalDavMirror>(*context, store, client, clock);
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

    // Offline edits wait in the change log; a refused token means a full listing that
    // neither loses nor doubles a task.
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
        for (MirrorStore::Collection c : m_b->store.collections()) {
            c.syncToken = QStringLiteral("http://radicale.org/ns/sync/0000");
            m_b->store.putCollection(c);
        }
        QVERIFY(m_a->sync());
        QVERIFY(m_a->context->pendingChanges().isEmpty());
        QVERIFY(m_b->sync());
        QCOMPARE(m_b->context->tasks().size(), 2);
        QVERIFY(m_b->titled(QStringLiteral("Report v2")));
    }
};

QTEST_GUILESS_MAIN(TestCalDavMirror)
#include "tst_caldavmirror.moc"
