#pragma once

// Two boards on one CalDAV server, edited at random on both sides (create, edit the same
// and different fields, complete, move between lists, delete, reorder) with syncs at random
// points and a fault proxy between them and the server; after a last sync without faults
// both boards and the server must hold the same tasks, field for field. Shared by the test
// and the benchmark. Everything a run depends on besides timing comes from the seed, ids
// included (they name the files on the server, and the proxy's faults follow the names).

#include "Clock.h"
#include "FaultProxy.h"
#include "IsoCalendar.h"
#include "MirrorBoard.h"
#include "TaskCategory.h"

#include <QElapsedTimer>
#include <QHashFunctions>

class ConvergenceRun {
public:
    using Board = MirrorBoard;

    struct Figures {
        int edits = 0;
        int syncs = 0;
        int failedSyncs = 0;
        int tasks = 0;
        qint64 roundsMs = 0;
    };

    ConvergenceRun(const QUrl& server, quint32 seed, const QString& directory)
        : m_random(seed)
        , m_proxy(server, seed) {
        // Hash order would otherwise differ from one process to the next.
        QHashSeed::setDeterministicGlobalSeed();
        m_a = std::make_unique<Board>(directory + QStringLiteral("/a.store"), m_proxy.url(),
                                      &m_network, m_clock);
        m_b = std::make_unique<Board>(directory + QStringLiteral("/b.store"), m_proxy.url(),
                                      &m_network, m_clock);
        int order = 0;
        for (const char* name : {"Home", "Work", "Errands"}) {
            auto* list = new TaskCategory(nextId(), m_clock.now());
            list->setName(QString::fromLatin1(name));
            list->setColorHex(QStringLiteral("E5484D"));
            list->setSortIndex(++order);
            m_a->context->insert(list);
        }
        m_a->context->save();
    }

    // The rounds, then the last syncs; empty when boards and server agree, else the first
    // difference found.
    QString run(int rounds, double faultRate) {
        if (!m_a->sync() || !m_b->sync())
            return QStringLiteral("the first sync failed");
        QElapsedTimer timer;
        timer.start();
        m_proxy.setFaultRate(faultRate);
        for (int round = 0; round < rounds; ++round) {
            for (Board* board : {m_a.get(), m_b.get()}) {
                for (int n = int(m_random.bounded(3)); n > 0; --n)
                    edit(*board);
            }
            for (Board* board : shuffled()) {
                if (m_random.bounded(100) < 25)
                    syncOnce(*board);
            }
        }
        figures.roundsMs = timer.elapsed();
        m_proxy.setFaultRate(0);
        for (int last = 0; last < 3; ++last) {
            for (Board* board : {m_a.get(), m_b.get()})
                syncOnce(*board);
        }
        figures.tasks = int(m_a->context->tasks().size());
        return compare();
    }

    [[nodiscard]] const FaultProxy& proxy() const { return m_proxy; }
    Figures figures;

private:
    QList<Board*> shuffled() {
        return m_random.bounded(2) ? QList<Board*>{m_a.get(), m_b.get()}
                                   : QList<Board*>{m_b.get(), m_a.get()};
    }

    void syncOnce(Board& board) {
        ++figures.syncs;
        figures.failedSyncs += !board.sync();
    }

    QUuid nextId() {
        QUuid id;
        id.data1 = m_random.generate();
        id.data2 = quint16(m_random.generate());
        id.data3 = quint16(0x4000 | (m_random.generate() & 0x0fff));
        const quint64 tail = (m_random.generate64() & 0x3fffffffffffffffULL) | (1ULL << 63);
        qToBigEndian(tail, id.data4);
        return id;
    }

    template <typename T> T* pick(const QList<T*>& list) {
        return list.isEmpty() ? nullptr : list.at(m_random.bounded(int(list.size())));
    }

    void edit(Board& board) {
        m_clock.advance(1000 + m_random.bounded(5000));
        ++figures.edits;
        ModelContext& context = *board.context;
        TaskItem* task = pick(context.tasks());
        // Creates twice as often as anything else, so the board grows while it churns.
        const int what = task ? qMax(0, int(m_random.bounded(10)) - 1) : 0;
        const QString word = QString::number(m_random.bounded(100000));
        switch (what) {
        case 0: {
            auto* created = new TaskItem(nextId(), m_clock.now());
            created->setTitle(QStringLiteral("Task ") + word);
            created->setSortIndex(m_random.bounded(1000));
            created->setCategory(m_random.bounded(2) ? pick(context.categories()) : nullptr);
            context.insert(created);
            break;
        }
        case 1:
            task->setTitle(QStringLiteral("Title ") + word);
            break;
        case 2:
            task->setNote(QStringLiteral("Note ") + word);
            break;
        case 3:
            task->setCompleted(!task->completed(), m_clock.now());
            break;
        case 4:
            task->setCategory(m_random.bounded(3) ? pick(context.categories()) : nullptr);
            break;
        case 5:
            context.remove(task);
            break;
        case 6:
            task->setSortIndex(m_random.bounded(1000));
            break;
        case 7:
            task->schedule(m_clock.now().addDays(m_random.bounded(30)), m_clock.now(),
                           IsoCalendar());
            break;
        case 8:
            task->setReminderAt(m_random.bounded(2)
                                    ? m_clock.now().addSecs(3600 * m_random.bounded(48))
                                    : QDateTime());
            break;
        }
        if (what != 0 && what != 5)
            task->setUpdatedAt(m_clock.now());
        context.save();
    }

    static QString listName(const TaskCategory* category) {
        return category ? category->name() : QStringLiteral("(none)");
    }

    QString compare() {
        QHash<QUuid, std::pair<TaskFields, QString>> server;
        for (const MirrorStore::Collection& collection : m_a->store.collections()) {
            const TaskCategory* list =
                collection.categoryId ? m_a->context->category(*collection.categoryId) : nullptr;
            for (const CalendarItem& item : m_a->serverItems(collection.url)) {
                TaskFields fields;
                QString why;
                if (!VtodoCodec::decode(item.data, &fields, &why))
                    return QStringLiteral("unreadable item %1: %2").arg(item.url.path(), why);
                if (server.contains(fields.id))
                    return QStringLiteral("%1 twice on the server").arg(fields.title);
                server.insert(fields.id, {fields, listName(list)});
            }
        }
        for (Board* board : {m_a.get(), m_b.get()}) {
            const QString side = board == m_a.get() ? QStringLiteral("A") : QStringLiteral("B");
            for (const TaskItem* task : board->context->tasks()) {
                const auto there = server.constFind(task->id());
                if (there == server.cend())
                    return QStringLiteral("%1's \"%2\" %3 is not on the server")
                        .arg(side, task->title(), task->id().toString());
                const TaskFields here = TaskFields::fromTask(*task);
                if (!here.sameContent(there->first)) {
                    const TaskFields& t = there->first;
                    return QStringLiteral("%1's \"%2\" differs from the server's in:%3%4%5%6%7%8")
                        .arg(side, task->title(), here.sameTitle(t) ? "" : " title",
                             here.sameNote(t) ? "" : " note",
                             here.sameCompletion(t) ? "" : " completion",
                             here.samePlan(t) ? "" : " plan",
                             here.sameReminder(t) ? "" : " reminder",
                             here.sameSortIndex(t) ? "" : " order");
                }
                if (listName(task->category()) != there->second)
                    return QStringLiteral("%1's \"%2\" is in %3, on the server in %4")
                        .arg(side, task->title(), listName(task->category()), there->second);
            }
            // Every task here is on the server; the server holds none more.
            for (auto it = server.cbegin(); it != server.cend(); ++it) {
                if (!board->context->task(it.key()))
                    return QStringLiteral(
                               "%1 lacks the server's \"%2\" %3 (%4 tasks there, %5 here)")
                        .arg(side, it->first.title, it.key().toString())
                        .arg(server.size())
                        .arg(board->context->tasks().size());
            }
        }
        return {};
    }

    QRandomGenerator m_random;
    ManualClock m_clock{QDateTime(QDate(2024, 6, 12), QTime(9, 0), Qt::UTC)};
    QNetworkAccessManager m_network;
    FaultProxy m_proxy;
    std::unique_ptr<Board> m_a, m_b;
};
