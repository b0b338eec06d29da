#pragma once

#include "CalDavClient.h"
#include "MirrorEvent.h"
#include "MirrorStore.h"
#include "ModelContext.h"
#include "TaskFields.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <memory>

class Clock;
class NotificationHub;
class TaskCategory;
class TaskItem;

// The board mirrored to one CalDAV account. A sync is three steps, each reported as a
// MirrorEvent: setup (find the calendar home, pair lists with collections), import (each
// collection's changes since its token, applied to the context before the token is kept)
// and export (the context's change log, written with If-None-Match / If-Match; a 412 is
// met with a re-fetch and a field-by-field merge, a bounded number of times).
class CalDavMirror : public QObject {
    Q_OBJECT
public:
    static constexpr int maxConflictRetries = 3;
    // Writes on their way at once: as many as Qt keeps connections to one server.
    static constexpr int maxWritesInFlight = 6;
    // An import applies this many items, or for this long, then saves and lets the board draw.
    static constexpr qsizetype defaultSliceItems = 200;
    static constexpr int sliceMs = 8;

    CalDavMirror(ModelContext& context, MirrorStore& store, CalDavClient& client,
                 const Clock& clock, NotificationHub& hub, QObject* parent = nullptr);

    // Starts one sync. Asked while one runs, another follows it.
    void sync();
    [[nodiscard]] bool isSyncing() const { return m_running; }
    // Smaller slices, for a test that acts between two of them.
    void setSliceItems(qsizetype items) { m_sliceItems = items; }
    // Seconds the server asked to wait before the next try (Retry-After), or -1.
    [[nodiscard]] int retryAfterSecs() const { return m_retryAfterSecs; }

signals:
    void eventChanged(const MirrorEvent& event);
    // After each sync, whether every step went well.
    void finished(bool ok);
    // How far the export is: `done` of `total` changes through (a first upload can be long).
    void progress(qsizetype done, qsizetype total);

private:
    // One changed item's text as read on the worker, or why it cannot be read.
    struct Decoded {
        bool ok = false;
        TaskFields fields;
        QString why;
    };
    struct Delta {
        MirrorStore::Collection collection;
        QString newToken;
        QList<CalendarItem> changed;
        QList<QUrl> removed;
        QList<Decoded> decoded; // one per changed item, once the delta is complete
    };

    // The checked save, recorded for the export or not (the server's own changes); a failure
    // ends the sync.
    bool saveBoard(bool recorded);
    void begin(MirrorEvent::Type type);
    void end(const CalDavError& error);
    void finish(const CalDavError& error);

    void setup();
    void pairCollections(const QList<CalendarCollection>& onServer);
    void createCollections(QList<QUuid> missing);
    void importNext(qsizetype index);
    void fetchDelta(const MirrorStore::Collection& collection,
                    const std::function<void(const CalDavError&, const Delta&)>& done);
    // A listing of a whole collection: adds what we hold there and it lacks to the removals.
    void addUnlisted(Delta& delta, const QList<CalendarItem>& listed) const;
    // Keeps that we made `href` after the collection's token; see addUnmentioned.
    void noteMade(const QUrl& collection, const QUrl& href);
    // Adds to the removals what we made since the token and the delta does not name.
    void addUnmentioned(Delta& delta) const;
    void fillTexts(const Delta& delta,
                   const std::function<void(const CalDavError&, const Delta&)>& done);
    // Runs on the worker: reads the texts only, nothing of the board.
    [[nodiscard]] static QList<Decoded> decodeAll(const QList<CalendarItem>& items);
    // Applies the deltas in slices, each saved before the loop runs again; then the removals,
    // and only then do the tokens move on.
    void applyDeltas();
    bool beginSlice();
    void applySlice();
    void applyRemovals();
    // What an import knows while it applies its items.
    struct Applying {
        QHash<QUuid, bool> pending;            // task id -> deleted here, read again per slice
        QSet<QString> removed;                 // paths listed as removed
        QHash<QUuid, MirrorStore::Item> known; // the bindings before this import
        QHash<QUuid, MirrorStore::Item> bound; // bound by this import
        QList<MirrorStore::Item> unstored;     // bound in this slice, not yet in the store
        qsizetype delta = 0;                   // the next item to apply
        qsizetype item = 0;
    };
    void applyItem(const Delta& delta, TaskCategory* category, const CalendarItem& item,
                   const Decoded& decoded, Applying& state);
    // Deletes the second copies the import found, then starts the export.
    void removeStrays();
    void startExport();
    // Sends the next changes, a bounded number at once; finishes the sync after the last.
    void exportNext();
    void settle(qsizetype position, const CalDavError& error);
    void exportTask(const RecordChange& change,
                    const std::function<void(const CalDavError&)>& done);
    void exportCategory(const RecordChange& change,
                        const std::function<void(const CalDavError&)>& done);
    // DELETE of a deleted list's collection, once none of our tasks is left in it.
    void removeCollection(const QUrl& url, const std::function<void(const CalDavError&)>& done);
    // Keeps how far the export got: the change log up to there, and the count for progress.
    void acknowledge();
    void upload(TaskItem* task, const QUrl& collection, const QUrl& href, const QByteArray& base,
                const QString& etag, int attempt,
                const std::function<void(const CalDavError&)>& done);
    void resolveConflict(TaskItem* task, const QUrl& collection, const QUrl& href,
                         const QByteArray& base, int attempt,
                         const std::function<void(const CalDavError&)>& done);

    [[nodiscard]] bool isVanished(const QUrl& collection) const;
    // The next import lists this collection whole.
    void forgetToken(const QUrl& collection);
    [[nodiscard]] QUrl collectionFor(const TaskCategory* category) const;
    [[nodiscard]] QUrl collectionOf(const std::optional<QUuid>& categoryId) const;
    [[nodiscard]] TaskCategory* categoryFor(const QUrl& collection) const;

    ModelContext& m_context;
    MirrorStore& m_store;
    CalDavClient& m_client;
    const Clock& m_clock;
    NotificationHub& m_hub;

    bool m_running = false;
    bool m_again = false;
    bool m_failed = false;
    int m_retryAfterSecs = -1;
    MirrorEvent m_event;
    qsizetype m_sliceItems = defaultSliceItems;
    QUrl m_home;
    QHash<QUrl, CalendarCollection> m_onServer;
    QList<MirrorStore::Collection> m_toImport;
    QList<MirrorStore::Collection> m_vanished; // ours, no longer on the server
    QList<Delta> m_deltas;
    std::unique_ptr<Applying> m_applying; // while the deltas are applied
    QList<CalendarItem> m_strays;         // second hrefs of one UID, to delete after the import
    QSet<QString> m_relist;               // collections this import must list whole next time
    QList<RecordChange> m_changes;
    qsizetype m_changeIndex = 0; // the next change to send
    int m_inFlight = 0;
    bool m_listInFlight = false;
    bool m_launching = false;
    QList<bool> m_through; // per change: written without error
    qsizetype m_settledCount = 0;
    qint64 m_acknowledgeUpTo = 0;
    qsizetype m_acknowledgedCount = 0; // changes of this export acknowledged so far
    qint64 m_progressBase = 0;         // changes sent by an earlier, unfinished export
    bool m_blocked = false; // a change failed: later ones may go out but not be acknowledged
    CalDavError m_exportError;
};
